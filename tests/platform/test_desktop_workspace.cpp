#include "platform/linux/workspace/DesktopWorkspace.h"
#include "tests/support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QVariantMap>

#include <memory>

using namespace Qt::StringLiterals;

namespace
{

/// The portal and the file manager of a desktop, on a connection of their own.
class FakeDesktop : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.OpenURI")

public:
    FakeDesktop()
    {
        m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this,
                             QDBusConnection::ExportAllSlots);
        m_bus.registerService(u"org.freedesktop.portal.Desktop"_s);
    }
    ~FakeDesktop() override { QDBusConnection::disconnectFromBus(u"desktop"_s); }

    QStringList opened;

public Q_SLOTS:
    QDBusObjectPath OpenURI(const QString &, const QString &address, const QVariantMap &options)
    {
        opened.append(address);
        if (address.endsWith(u"/silent"))
            sendErrorReply(QDBusError::NoReply);
        if (address.endsWith(u"/failing")) {
            QDBusMessage response =
                QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(
                                               message().service().mid(1).replace(u'.', u'_'),
                                               options[u"handle_token"_s].toString()),
                                           u"org.freedesktop.portal.Request"_s, u"Response"_s);
            m_bus.send(response << 2U << QVariantMap());
        }
        return QDBusObjectPath(u"/request"_s);
    }

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"desktop"_s);
};

class FakeFileManager : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    FakeFileManager()
    {
        m_bus.registerObject(u"/org/freedesktop/FileManager1"_s, this,
                             QDBusConnection::ExportAllSlots);
        m_bus.registerService(u"org.freedesktop.FileManager1"_s);
    }
    ~FakeFileManager() override { QDBusConnection::disconnectFromBus(u"files"_s); }

    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList &items, const QString &) { shown += items; }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"files"_s);
};

} // namespace

/// What reaches the desktop, and what is left alone, with and without a portal.
class TestDesktopWorkspace : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    std::unique_ptr<PrivateBus> m_bus;
    DesktopWorkspace m_workspace;
    const QByteArray m_path = qgetenv("PATH");

    /// A program in \p folder that logs \p name and its arguments.
    void makeCommand(const QTemporaryDir &folder, const QString &file, const QByteArray &name) const
    {
        makeScript(folder.filePath(file), "exec >>'" + m_folder.filePath(u"log"_s).toUtf8() +
                                              "'\necho " + name + " \"$@\"");
    }

    static void makeScript(const QString &path, const QByteArray &text)
    {
        QFile command(path);
        QVERIFY(command.open(QIODevice::WriteOnly));
        command.write("#!/bin/sh\n" + text + '\n');
        QVERIFY(command.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    /// What the programs have logged so far; of xdg-open its arguments only.
    QString openedByCommand() const
    {
        QFile log(m_folder.filePath(u"log"_s));
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<PrivateBus>();
        makeCommand(m_folder, u"xdg-open"_s, QByteArray());
        qputenv("PATH", m_folder.path().toUtf8() + ':' + m_path);
    }

    void init() { QFile::remove(m_folder.filePath(u"log"_s)); }

    void onlyWebAddressesAreOpened()
    {
        FakeDesktop desktop;
        for (const QString &refused :
             {u"file:///etc/passwd"_s, u"http://example.com/"_s, u"javascript:alert(1)"_s,
              u"--help"_s, u"https://user@example.com/"_s, u"parlovance://auth?token=1"_s,
              QString()})
            m_workspace.openAddress(refused);
        m_workspace.openAddress(u"https://example.com/a?b=%2F#c"_s);
        m_workspace.openAddress(u"http://127.0.0.1:8080/周"_s);
        const QStringList allowed{u"https://example.com/a?b=%2F#c"_s,
                                  u"http://127.0.0.1:8080/%E5%91%A8"_s};
        QTRY_COMPARE(desktop.opened, allowed);
        QCOMPARE(openedByCommand(), QString());
    }

    void withoutAPortalTheCommandOpens()
    {
        m_workspace.openAddress(u"https://example.com/?state=1"_s);
        QTRY_COMPARE(openedByCommand(), u"https://example.com/?state=1\n"_s);
        m_workspace.revealFile(u"/tmp/a b/c.m4a"_s);
        QTRY_COMPARE(openedByCommand(), u"https://example.com/?state=1\n/tmp/a b\n"_s);
    }

    void obstaclesOfASignInAreTold()
    {
        const auto told = std::make_shared<QStringList>();
        const auto open = [&](const QTemporaryDir &programs, const QString &address) {
            qputenv("PATH", programs.path().toUtf8() + ':' + m_path);
            m_workspace.openSignInPage(address,
                                       [told](const QString &other) { told->append(other); });
        };
        const QTemporaryDir own;
        makeScript(own.filePath(u"xdg-mime"_s), "echo com.parlovance.Parlovance.desktop");
        const QTemporaryDir other;
        makeScript(other.filePath(u"xdg-mime"_s),
                   R"([ "$*" = 'query default x-scheme-handler/parlovance' ] &&)"
                   " echo org.other.desktop");
        makeScript(other.filePath(u"xdg-open"_s), "exit 3");
        {
            const FakeDesktop desktop;
            open(own, u"https://example.com/failing"_s);
            QTRY_COMPARE(*told, QStringList(u""_s));
        }
        open(other, u"https://example.com/"_s);
        QTRY_COMPARE(told->size(), 3);
        told->sort();
        QCOMPARE(*told, QStringList({u""_s, u""_s, u"org.other"_s}));
        qputenv("PATH", m_folder.path().toUtf8() + ':' + m_path);
    }
};

QTEST_GUILESS_MAIN(TestDesktopWorkspace)
#include "test_desktop_workspace.moc"
