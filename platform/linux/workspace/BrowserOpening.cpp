#include "platform/linux/workspace/BrowserOpening.h"

#include "base/CoreFiles.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
/// Long enough for a service that is only started by the call.
constexpr int answerLimitMilliseconds = 10'000;

/// For a user whom the portal asks which browser to take.
constexpr std::chrono::minutes responseLimit{10};

/// The portal's response code of a request that was neither done nor cancelled by the user.
constexpr uint endedOtherwise = 2;
} // namespace

void BrowserOpening::start(QObject &owner, const QString &address, std::function<void()> failed)
{
    auto *const opening = new BrowserOpening(address, std::move(failed), &owner);
    opening->askPortal();
}

BrowserOpening::BrowserOpening(QString address, std::function<void()> failed, QObject *parent)
    : QObject(parent)
    , m_address(std::move(address))
    , m_failed(std::move(failed))
{
}

/// The portal first, because command lines can be read by every user of the machine.
void BrowserOpening::askPortal()
{
    static int count = 0;
    const QString token = u"parlovance%1"_s.arg(++count);
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
    // The portal answers at once that it has the request, and by a signal what became of it.
    bus.connect({}, u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token),
                u"org.freedesktop.portal.Request"_s, u"Response"_s, this,
                SLOT(handleResponse(uint, QVariantMap)));
    QDBusMessage message = QDBusMessage::createMethodCall(
        u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s,
        u"org.freedesktop.portal.OpenURI"_s, u"OpenURI"_s);
    message << QString() << m_address << QVariantMap{{u"handle_token"_s, token}};
    auto *const watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(message, answerLimitMilliseconds), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        // A silent portal may still open the page, which must not be opened twice.
        if (watcher->isError() && watcher->error().type() != QDBusError::NoReply)
            runCommand();
        else
            QTimer::singleShot(responseLimit, this, [this] { end(false); });
    });
}

void BrowserOpening::handleResponse(uint response, const QVariantMap &)
{
    end(response == endedOtherwise);
}

void BrowserOpening::runCommand()
{
    // Without a parent: the command may be the browser itself, which must outlive the program.
    auto *const command = new QProcess;
    CoreFiles::allowAsBefore(*command);
    command->setStandardInputFile(QProcess::nullDevice());
    command->setStandardOutputFile(QProcess::nullDevice());
    command->setStandardErrorFile(QProcess::nullDevice());
    connect(command, &QProcess::finished, this, [this, command](int code) {
        command->deleteLater();
        end(code != 0);
    });
    connect(command, &QProcess::errorOccurred, this, [this, command](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        command->deleteLater();
        end(true);
    });
    command->start(u"xdg-open"_s, {m_address});
}

void BrowserOpening::end(bool hasFailed)
{
    deleteLater();
    if (hasFailed && m_failed)
        m_failed();
}
