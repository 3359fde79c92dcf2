#include "platform/linux/secrets/SecretServiceStore.h"

#include "platform/Defaults.h"
#include "platform/linux/secrets/SecretItems.h"
#include "platform/linux/secrets/SecretWorker.h"

#include <QPromise>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace
{

SecretItems::Key keyOf(const QString &service, const QString &account)
{
    return {service.toStdString(), account.toStdString()};
}

/// The key under which the settings remember that the item was removed.
QString markOf(const QString &service, const QString &account)
{
    return "secrets.removed."_L1 + service + u'.' + account;
}

/// The text of \p bytes; none when they are not valid UTF-8.
std::optional<QString> textOf(const std::string &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text =
        decoder.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

SecretServiceStore::SecretServiceStore(Defaults &defaults, std::chrono::milliseconds patience,
                                       std::chrono::milliseconds patienceAtEnd)
    : m_defaults(defaults)
    , m_patience(patience)
    , m_patienceAtEnd(patienceAtEnd)
    , m_worker(std::make_shared<SecretWorker>())
{
    SecretWorker::start(m_worker);
}

SecretServiceStore::~SecretServiceStore()
{
    m_worker->close(m_patienceAtEnd);
    forgetConfirmed();
}

void SecretServiceStore::add(const QString &service, const QString &account, const QString &value)
{
    change(markOf(service, account), [key = keyOf(service, account), secret = value.toStdString()] {
        return SecretItems::store(key, secret);
    });
}

std::optional<QString> SecretServiceStore::find(const QString &service, const QString &account)
{
    const QString mark = markOf(service, account);
    if (!m_changes.contains(mark) && m_defaults.boolean(mark).value_or(false))
        remove(service, account);
    // Shared: a call that comes back late still finishes it.
    const auto answer = std::make_shared<QPromise<std::optional<QString>>>();
    m_lastAnswer = answer->future();
    answer->start();
    const auto search = [key = keyOf(service, account), answer, change = m_changes.value(mark)] {
        // After a change that failed, the service may still have what it replaced or removed.
        const bool isCurrent = !change.isValid() || change.result();
        const auto found = isCurrent ? SecretItems::find(key) : std::nullopt;
        answer->addResult(found ? textOf(*found) : std::nullopt);
        answer->finish();
    };
    const bool isAnswered = m_worker->runWithin(m_patience, search);
    forgetConfirmed();
    return isAnswered ? m_lastAnswer.result() : std::nullopt;
}

void SecretServiceStore::remove(const QString &service, const QString &account)
{
    const QString mark = markOf(service, account);
    // At once: the process may end while the service waits for the user.
    m_defaults.setBoolean(mark, true);
    change(mark, [key = keyOf(service, account)] { return SecretItems::remove(key); });
}

/// Queues \p call, which tells whether the service did what was asked.
void SecretServiceStore::change(const QString &mark, std::function<bool()> call)
{
    const auto outcome = std::make_shared<QPromise<bool>>();
    outcome->start();
    QFuture<bool> future = outcome->future();
    m_changes.insert(mark, future);
    future.then(&m_context, [this](bool) { forgetConfirmed(); });
    m_worker->queue([call = std::move(call), outcome] {
        outcome->addResult(call());
        outcome->finish();
    });
}

void SecretServiceStore::forgetConfirmed()
{
    for (const auto &[mark, isDone] : m_changes.asKeyValueRange()) {
        const bool isConfirmed = isDone.isFinished() && isDone.resultCount() > 0 && isDone.result();
        if (isConfirmed && m_defaults.boolean(mark).value_or(false))
            m_defaults.setBoolean(mark, false);
    }
}
