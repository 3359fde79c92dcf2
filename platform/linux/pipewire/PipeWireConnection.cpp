#include "platform/linux/pipewire/PipeWireConnection.h"

#include "base/Logger.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QVersionNumber>

#include <pipewire/extensions/metadata.h>
#include <pthread.h>

#include <cerrno>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr Logger logger("audio");
constexpr auto answerLimit = 4s;

QString property(const spa_dict *properties, const char *key)
{
    return QString::fromUtf8(properties != nullptr ? spa_dict_lookup(properties, key) : nullptr);
}

ConnectionFailure noConnection(int code)
{
    return {code == EACCES || code == EPERM,
            Error(u"无法连接声音服务（%1）"_s.arg(systemErrorText(code)))};
}

/// The configuration of clients that gives the data thread real-time priority: since 1.4 the
/// default one does, and the other only brings a complaint.
const char *realTimeConfiguration()
{
    const QLatin1StringView version(pw_get_library_version());
    return QVersionNumber::fromString(version) < QVersionNumber(1, 4) ? "client-rt.conf"
                                                                      : "client.conf";
}
} // namespace

/// The callbacks of the library, all on the loop thread with its lock held.
struct PipeWireConnection::Events {
    static PipeWireConnection &self(void *data) { return *static_cast<PipeWireConnection *>(data); }

    static void done(void *data, uint32_t id, int sequence)
    {
        if (id != PW_ID_CORE)
            return;
        self(data).m_answered = sequence;
        pw_thread_loop_signal(self(data).m_loop.get(), false);
    }

    static void error(void *data, uint32_t id, int, int code, const char *message)
    {
        // Errors of other objects concern those; their owners hear of them by themselves. An object
        // that the server removed while a request to it was on its way is no loss of the server.
        if (id == PW_ID_CORE && code != -ENOENT)
            self(data).fail(-code, message);
    }

    static void global(void *data, uint32_t id, uint32_t, const char *type, uint32_t,
                       const spa_dict *properties)
    {
        self(data).addGlobal(id, type, properties);
    }

    static void globalRemove(void *data, uint32_t id)
    {
        PipeWireConnection &connection = self(data);
        if (id == connection.m_defaultsId)
            connection.m_defaults.reset();
        connection.changeGraph([id](AudioGraph &graph) { graph.remove(id); });
    }

    static int defaultChanged(void *data, uint32_t subject, const char *key, const char *,
                              const char *value)
    {
        // Other subjects are nodes. Without a key everything about the subject is cleared.
        if (subject != PW_ID_CORE)
            return 0;
        const auto name = QJsonDocument::fromJson(key != nullptr ? value : nullptr)
                              .object()[u"name"_s]
                              .toString();
        const std::string_view which(key != nullptr ? key : "");
        self(data).changeGraph([&](AudioGraph &graph) {
            if (which.empty() || which == "default.audio.source")
                graph.setDefaultSource(name);
            if (which.empty() || which == "default.configured.audio.source")
                graph.setConfiguredSource(name);
        });
        return 0;
    }

    static const pw_core_events &core()
    {
        static const pw_core_events events = [] {
            pw_core_events made{};
            made.version = PW_VERSION_CORE_EVENTS;
            made.done = done;
            made.error = error;
            return made;
        }();
        return events;
    }

    static const pw_registry_events &registry()
    {
        static const pw_registry_events events = [] {
            pw_registry_events made{};
            made.version = PW_VERSION_REGISTRY_EVENTS;
            made.global = global;
            made.global_remove = globalRemove;
            return made;
        }();
        return events;
    }

    static const pw_metadata_events &defaults()
    {
        static const pw_metadata_events events{PW_VERSION_METADATA_EVENTS, defaultChanged};
        return events;
    }
};

std::expected<std::shared_ptr<PipeWireConnection>, ConnectionFailure> PipeWireConnection::open()
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { pw_init(nullptr, nullptr); });

    std::shared_ptr<PipeWireConnection> connection(new PipeWireConnection);
    if (const auto connected = connection->connect(); !connected)
        return std::unexpected(connected.error());

    // The first answer comes after all globals, the second after what the session manager chose.
    if (!connection->roundTrip() || !connection->roundTrip()) {
        return std::unexpected(
            connection->failure().value_or(ConnectionFailure{false, Error(u"声音服务没有响应"_s)}));
    }
    return connection;
}

std::expected<void, ConnectionFailure> PipeWireConnection::connect()
{
    m_loop.reset(pw_thread_loop_new("sound-server", nullptr));
    if (!m_loop)
        return std::unexpected(noConnection(errno));
    m_context.reset(
        pw_context_new(pw_thread_loop_get_loop(m_loop.get()),
                       pw_properties_new(PW_KEY_CONFIG_NAME, realTimeConfiguration(), nullptr), 0));
    if (!m_context)
        return std::unexpected(noConnection(errno));
    m_core.reset(pw_context_connect(m_context.get(), nullptr, 0));
    if (!m_core)
        return std::unexpected(noConnection(errno));
    pw_core_add_listener(m_core.get(), &m_coreHook, &Events::core(), this);
    auto *registry = pw_core_get_registry(m_core.get(), PW_VERSION_REGISTRY, 0);
    m_registry.reset(reinterpret_cast<pw_proxy *>(registry));
    pw_registry_add_listener(registry, &m_registryHook, &Events::registry(), this);
    if (const int result = pw_thread_loop_start(m_loop.get()); result < 0)
        return std::unexpected(noConnection(-result));
    return {};
}

void PipeWireConnection::nameDataThread()
{
    const auto name = [](spa_loop *, bool, uint32_t, const void *, std::size_t, void *) {
        return pthread_setname_np(pthread_self(), "sound-data");
    };
    pw_data_loop_invoke(pw_context_get_data_loop(m_context.get()), name, 0, nullptr, 0, false,
                        nullptr);
}

PipeWireConnection::~PipeWireConnection()
{
    if (m_loop)
        pw_thread_loop_stop(m_loop.get());
}

std::optional<ConnectionFailure> PipeWireConnection::failure() const
{
    const std::scoped_lock lock(m_mutex);
    return m_failure;
}

std::expected<quint64, Error> PipeWireConnection::defaultMicrophone() const
{
    if (const auto serial = ask(&AudioGraph::defaultMicrophone))
        return *serial;
    return std::unexpected(Error(u"没有找到麦克风"_s));
}

// Waits until the server has answered everything asked before. False when it does not.
bool PipeWireConnection::roundTrip()
{
    const PipeWireLock lock(m_loop.get());
    timespec until{};
    pw_thread_loop_get_time(m_loop.get(), &until, std::chrono::nanoseconds(answerLimit).count());
    const int asked = pw_core_sync(m_core.get(), PW_ID_CORE, 0);
    while (asked >= 0 && m_answered != asked) {
        if (failure() || pw_thread_loop_timed_wait_full(m_loop.get(), &until) < 0)
            return false;
    }
    return asked >= 0;
}

void PipeWireConnection::observeGraph(const void *owner, GraphObserver observer)
{
    const PipeWireLock lock(m_loop.get());
    const std::scoped_lock guard(m_mutex);
    m_observers.insert_or_assign(owner, std::move(observer));
}

void PipeWireConnection::forgetObserver(const void *owner)
{
    // Observers are called with the loop's lock held, so none is being called any more.
    const PipeWireLock lock(m_loop.get());
    const std::scoped_lock guard(m_mutex);
    m_observers.erase(owner);
}

void PipeWireConnection::changeGraph(const std::function<void(AudioGraph &)> &change)
{
    std::map<const void *, GraphObserver> observers;
    {
        const std::scoped_lock lock(m_mutex);
        change(m_graph);
        observers = m_observers;
    }
    for (const auto &[owner, observer] : observers)
        observer();
}

void PipeWireConnection::addGlobal(quint32 id, const char *type, const spa_dict *properties)
{
    const std::string_view interface(type);
    if (interface == PW_TYPE_INTERFACE_Node) {
        const AudioGraph::Node node{property(properties, PW_KEY_MEDIA_CLASS),
                                    property(properties, PW_KEY_NODE_NAME),
                                    property(properties, PW_KEY_OBJECT_SERIAL).toULongLong()};
        changeGraph([&](AudioGraph &graph) { graph.addNode(id, node); });
    } else if (interface == PW_TYPE_INTERFACE_Link) {
        const AudioGraph::Link link{property(properties, PW_KEY_LINK_OUTPUT_NODE).toUInt(),
                                    property(properties, PW_KEY_LINK_INPUT_NODE).toUInt()};
        changeGraph([&](AudioGraph &graph) { graph.addLink(id, link); });
    } else if (interface == PW_TYPE_INTERFACE_Metadata &&
               property(properties, PW_KEY_METADATA_NAME) == u"default"_s) {
        bindDefaults(id);
    }
}

void PipeWireConnection::bindDefaults(quint32 id)
{
    auto *registry = reinterpret_cast<pw_registry *>(m_registry.get());
    auto *metadata = static_cast<pw_metadata *>(
        pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (metadata == nullptr)
        return;
    m_defaults.reset(reinterpret_cast<pw_proxy *>(metadata));
    m_defaultsId = id;
    pw_metadata_add_listener(metadata, &m_defaultsHook, &Events::defaults(), this);
}

void PipeWireConnection::fail(int code, const char *message)
{
    const bool isRefused = code == EACCES || code == EPERM;
    const QString text = isRefused ? u"声音服务拒绝访问"_s : u"声音服务已断开"_s;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_failure)
            return;
        m_failure = ConnectionFailure{isRefused, Error(text)};
    }
    logger.error(u"the sound server: %1"_s.arg(QString::fromUtf8(message)));
    changeGraph([](AudioGraph &graph) { graph = AudioGraph(); });
    pw_thread_loop_signal(m_loop.get(), false);
}
