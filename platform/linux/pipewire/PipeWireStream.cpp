#include "platform/linux/pipewire/PipeWireStream.h"

#include "platform/linux/pipewire/MediaClock.h"

#include <poll.h>
#include <spa/param/audio/format-utils.h>
#include <spa/utils/result.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// What the session manager says when there is no device at the moment; the stream stays usable.
constexpr std::string_view noDevice = "no node available";

/// Longer than any burst after the server was held up. Outside of it a driver's clock is not ours.
constexpr MediaTime oldestPlausible = 60s;
constexpr MediaTime newestPlausible = 1s;

pw_properties *streamProperties(const PipeWireStreamSettings &settings)
{
    // Fewer, longer cycles where nobody else asks for short ones: less work for the machine.
    pw_properties *properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture",
        // "Communication" would switch a Bluetooth headset to its call profile.
        PW_KEY_MEDIA_ROLE, "Production", PW_KEY_NODE_ALWAYS_PROCESS, "true", PW_KEY_NODE_LATENCY,
        "2048/48000", PW_KEY_APP_NAME, "Parlovance", nullptr);
    pw_properties_set(properties, PW_KEY_NODE_NAME,
                      settings.capturesSink ? "parlovance-system" : "parlovance-microphone");
    pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION,
                      settings.capturesSink ? "Parlovance 系统声音" : "Parlovance 麦克风");
    if (settings.capturesSink)
        pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    return properties;
}

const spa_pod *sampleFormat(const PipeWireStreamSettings &settings, std::span<std::byte> memory)
{
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.rate = static_cast<uint32_t>(settings.sampleRate);
    info.channels = static_cast<uint32_t>(settings.channelCount);
    if (settings.channelCount == 2) {
        info.position[0] = SPA_AUDIO_CHANNEL_FL;
        info.position[1] = SPA_AUDIO_CHANNEL_FR;
    } else {
        info.position[0] = SPA_AUDIO_CHANNEL_MONO;
    }
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<uint32_t>(memory.size()));
    return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
}

/// The samples in a buffer, which never reach beyond its memory.
std::span<const float> samplesOf(const spa_buffer &buffer)
{
    if (buffer.n_datas == 0 || buffer.datas[0].data == nullptr)
        return {};
    const spa_data &data = buffer.datas[0];
    const uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    const uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
    const auto *begin = static_cast<const std::byte *>(data.data) + offset;
    return {reinterpret_cast<const float *>(begin), size / sizeof(float)};
}

MediaTime plausible(MediaTime cycle)
{
    const MediaTime now = mediaNow();
    return cycle < now - oldestPlausible || cycle > now + newestPlausible ? now : cycle;
}
} // namespace

/// The callbacks of the library.
struct PipeWireStream::Events {
    static PipeWireStream &self(void *data) { return *static_cast<PipeWireStream *>(data); }

    static void process(void *data) { self(data).capture(); }

    static void stateChanged(void *data, pw_stream_state, pw_stream_state state,
                             const char *message)
    {
        if (state == PW_STREAM_STATE_UNCONNECTED || state == PW_STREAM_STATE_ERROR)
            self(data).fail(message);
        else
            self(data).noteFeed(self(data).m_connection->graph());
    }

    static const pw_stream_events &table()
    {
        static const pw_stream_events events = [] {
            pw_stream_events made{};
            made.version = PW_VERSION_STREAM_EVENTS;
            made.state_changed = stateChanged;
            made.process = process;
            return made;
        }();
        return events;
    }
};

PipeWireStream::PipeWireStream(std::shared_ptr<PipeWireConnection> connection,
                               const PipeWireStreamSettings &settings)
    : m_connection(std::move(connection))
    , m_settings(settings)
    , m_ring(SampleRing::tenSeconds(settings.channelCount))
    , m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

std::expected<std::unique_ptr<PipeWireStream>, Error>
PipeWireStream::open(std::shared_ptr<PipeWireConnection> connection,
                     const PipeWireStreamSettings &settings)
{
    std::unique_ptr<PipeWireStream> stream(new PipeWireStream(std::move(connection), settings));
    if (const auto connected = stream->connect(); !connected)
        return std::unexpected(connected.error());
    PipeWireStream &opened = *stream;
    opened.m_connection->observeGraph(
        &opened, [&opened](const AudioGraph &graph) { opened.noteFeed(graph); });
    return stream;
}

std::expected<void, Error> PipeWireStream::connect()
{
    const auto failed = [](int code) {
        return std::unexpected(
            Error(u"无法打开录音流（%1）"_s.arg(QString::fromUtf8(spa_strerror(code)))));
    };
    if (!m_event.isOpen())
        return failed(-errno);
    const PipeWireLock lock(m_connection->loop());
    m_stream.reset(pw_stream_new(m_connection->core(), "Parlovance", streamProperties(m_settings)));
    if (!m_stream)
        return failed(-errno);
    pw_stream_add_listener(m_stream.get(), &m_hook, &Events::table(), this);

    alignas(8) std::array<std::byte, 1024> memory{};
    const spa_pod *format = sampleFormat(m_settings, memory);
    constexpr auto flags = static_cast<pw_stream_flags>(
        PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    const int result =
        pw_stream_connect(m_stream.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, &format, 1);
    if (result < 0)
        return failed(result);
    return {};
}

PipeWireStream::~PipeWireStream()
{
    close();
}

void PipeWireStream::close()
{
    m_isClosing = true;
    m_connection->forgetObserver(this);
    const PipeWireLock lock(m_connection->loop());
    if (!m_stream)
        return;
    // The data thread uses the pointer until this returns.
    pw_stream_destroy(m_stream.get());
    std::ignore = m_stream.release();
    m_cycles.load(std::memory_order_acquire);
}

// Runs on the data thread: nothing here may wait, allocate or log.
void PipeWireStream::capture() noexcept
{
    pw_buffer *buffer = pw_stream_dequeue_buffer(m_stream.get());
    if (buffer == nullptr)
        return;
    pw_time time{};
    const std::span<const float> samples = samplesOf(*buffer->buffer);
    const auto channels = static_cast<std::size_t>(m_settings.channelCount);
    const std::size_t frames = samples.size() / channels;
    // Only here the stream's time is that of the buffer in hand.
    if (frames > 0 && pw_stream_get_time_n(m_stream.get(), &time, sizeof time) == 0) {
        const CapturedCycle cycle{plausible(MediaTime(time.now)), time.ticks, time.rate.denom,
                                  static_cast<quint32>(frames)};
        m_ring.write(cycle, samples.first(frames * channels));
    }
    pw_stream_queue_buffer(m_stream.get(), buffer);
    m_cycles.fetch_add(1, std::memory_order_release);
    wake();
}

void PipeWireStream::wait(std::chrono::milliseconds limit)
{
    pollfd waiting{m_event.get(), POLLIN, 0};
    ::poll(&waiting, 1, static_cast<int>(limit.count()));
    quint64 count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(m_event.get(), &count, sizeof count);
}

void PipeWireStream::wake()
{
    const quint64 one = 1;
    // Fails only when the counter is full, and then the worker is awake.
    [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one);
}

std::optional<Error> PipeWireStream::failure() const
{
    const std::scoped_lock lock(m_mutex);
    if (m_failure)
        return m_failure;
    if (const auto lost = m_connection->failure())
        return lost->error;
    return std::nullopt;
}

FeedHistory PipeWireStream::feeds() const
{
    const std::scoped_lock lock(m_mutex);
    return m_feeds;
}

void PipeWireStream::noteFeed(const AudioGraph &graph)
{
    const MediaTime now = mediaNow();
    const quint32 node = m_stream ? pw_stream_get_node_id(m_stream.get()) : SPA_ID_INVALID;
    const std::scoped_lock lock(m_mutex);
    m_feeds.forgetBefore(now - oldestPlausible);
    m_feeds.note(now, graph.feedOf(node));
}

void PipeWireStream::fail(const char *message)
{
    if (m_isClosing)
        return;
    const std::string_view reason = message != nullptr ? message : "stream removed";
    // Before the first sound start() waits for it in vain, which is then told.
    if (reason == noDevice)
        return;
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_failure) {
            m_failure = Error(u"声音服务已断开（%1）"_s.arg(
                QString::fromUtf8(reason.data(), static_cast<qsizetype>(reason.size()))));
        }
    }
    wake();
}
