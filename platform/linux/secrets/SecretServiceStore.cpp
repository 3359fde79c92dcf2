#include "platform/linux/secrets/SecretServiceStore.h"

#include "platform/linux/secrets/SecretItems.h"
#include "platform/linux/secrets/SecretWorker.h"

#include <QPromise>
#include <QStringDecoder>

namespace
{

SecretItems::Key keyOf(const QString &service, const QString &account)
{
    return {service.toStdString(), account.toStdString()};
}

/// None when \p bytes are not valid UTF-8.
std::optional<QString> textOf(const std::string &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text =
        decoder.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace

SecretServiceStore::SecretServiceStore(std::chrono::milliseconds patience)
    : m_patience(patience)
    , m_worker(std::make_shared<SecretWorker>())
{
    SecretWorker::start(m_worker);
}

SecretServiceStore::~SecretServiceStore()
{
    m_worker->close(m_patience);
}

void SecretServiceStore::add(const QString &service, const QString &account, const QString &value)
{
    m_worker->queue([key = keyOf(service, account), secret = value.toStdString()] {
        SecretItems::store(key, secret);
    });
}

std::optional<QString> SecretServiceStore::find(const QString &service, const QString &account)
{
    // Shared: a call that comes back late still finishes it.
    const auto answer = std::make_shared<QPromise<std::optional<QString>>>();
    m_lastAnswer = answer->future();
    answer->start();
    const auto search = [key = keyOf(service, account), answer] {
        const auto found = SecretItems::find(key);
        answer->addResult(found ? textOf(*found) : std::nullopt);
        answer->finish();
    };
    return m_worker->runWithin(m_patience, search) ? m_lastAnswer.result() : std::nullopt;
}

void SecretServiceStore::remove(const QString &service, const QString &account)
{
    m_worker->queue([key = keyOf(service, account)] { SecretItems::remove(key); });
}
