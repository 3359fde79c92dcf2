#include "tests/support/TrayHost.h"

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusVariant>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const auto connectionName = u"tray host"_s;
const auto itemInterface = u"org.kde.StatusNotifierItem"_s;
const auto menuInterface = u"com.canonical.dbusmenu"_s;

TrayHost::MenuItem readItem(const QDBusArgument &layout)
{
    TrayHost::MenuItem item;
    QVariantMap properties;
    layout.beginStructure();
    layout >> item.id >> properties;
    layout.beginArray();
    while (!layout.atEnd()) {
        QDBusVariant child;
        layout >> child;
        item.items.append(readItem(child.variant().value<QDBusArgument>()));
    }
    layout.endArray();
    layout.endStructure();
    item.label = properties.value(u"label"_s).toString();
    item.isEnabled = properties.value(u"enabled"_s, true).toBool();
    return item;
}
} // namespace

class TrayRegistry : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER m_hasHost)
    Q_PROPERTY(int ProtocolVersion MEMBER m_version)

public:
    explicit TrayRegistry(bool hasHost)
        : m_hasHost(hasHost)
    {
    }

    void addHost()
    {
        m_hasHost = true;
        Q_EMIT StatusNotifierHostRegistered();
    }

public Q_SLOTS:
    // NOLINTNEXTLINE(readability-identifier-naming) the interface's own
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString &)
    {
        Q_EMIT itemCame(QDBusContext::message().service());
    }

Q_SIGNALS:
    // NOLINTNEXTLINE(readability-identifier-naming) the interface's own
    Q_SCRIPTABLE void StatusNotifierHostRegistered();
    void itemCame(const QString &); ///< its name on the bus

private:
    bool m_hasHost;
    int m_version = 0;
};

TrayHost::TrayHost(bool hasHost)
    : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    , m_registry(new TrayRegistry(hasHost))
{
    connect(m_registry, &TrayRegistry::itemCame, this,
            [this](const QString &service) { m_item = service; });
    connect(&m_thread, &QThread::finished, m_registry, &QObject::deleteLater);
    m_registry->moveToThread(&m_thread);
    m_thread.start();
    // From there, as the bus adds to the object what sends its signals.
    const auto announce = [this] {
        m_bus.registerObject(u"/StatusNotifierWatcher"_s, m_registry,
                             QDBusConnection::ExportScriptableContents |
                                 QDBusConnection::ExportAllProperties);
        m_isRegistered = m_bus.registerService(u"org.kde.StatusNotifierWatcher"_s);
    };
    QMetaObject::invokeMethod(m_registry, announce, Qt::BlockingQueuedConnection);
}

TrayHost::~TrayHost()
{
    QDBusConnection::disconnectFromBus(connectionName);
    m_thread.quit();
    m_thread.wait();
}

void TrayHost::addHost()
{
    QMetaObject::invokeMethod(m_registry, &TrayRegistry::addHost);
}

bool TrayHost::waitForIcon()
{
    m_item.clear();
    if (!QTest::qWaitFor([this] { return !m_item.isEmpty(); }, 30'000))
        return false;
    auto question = call(u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << itemInterface << u"IconPixmap"_s;
    return ask(question).type() == QDBusMessage::ReplyMessage;
}

bool TrayHost::click(int x, int y) const
{
    auto activate = call(itemInterface, u"Activate"_s);
    activate << x << y;
    return ask(activate).type() == QDBusMessage::ReplyMessage;
}

QList<TrayHost::MenuItem> TrayHost::openMenu() const
{
    auto opening = call(menuInterface, u"AboutToShow"_s);
    opening << 0;
    ask(opening);
    return readMenu();
}

QList<TrayHost::MenuItem> TrayHost::readMenu() const
{
    auto question = call(menuInterface, u"GetLayout"_s);
    question << 0 << -1 << QStringList();
    const auto layout = ask(question).arguments().value(1);
    return layout.isValid() ? readItem(layout.value<QDBusArgument>()).items : QList<MenuItem>();
}

void TrayHost::choose(const MenuItem &item) const
{
    auto event = call(menuInterface, u"Event"_s);
    event << item.id << u"clicked"_s << QVariant::fromValue(QDBusVariant(0)) << 0U;
    m_bus.send(event);
}

QDBusMessage TrayHost::call(const QString &interface, const QString &method) const
{
    const auto path = interface == menuInterface ? u"/MenuBar"_s : u"/StatusNotifierItem"_s;
    return QDBusMessage::createMethodCall(m_item, path, interface, method);
}

// What answers may be on this thread.
QDBusMessage TrayHost::ask(const QDBusMessage &question) const
{
    return m_bus.call(question, QDBus::BlockWithGui);
}

#include "TrayHost.moc"
