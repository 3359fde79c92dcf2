#include "platform/linux/pipewire/PipeWireStream.h"

#include "base/Logger.h"
#include "platform/AudioBuffer.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr Logger logger("audio");

/// The session manager's message when there is no device at the moment; the stream stays usable.
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
    if (!settings.microphone) {
        pw_properties_set(properties, PW_KEY_NODE_NAME, "parlovance-system");
        pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, "Parlovance 系统声音");
        pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
        return properties;
    }
    pw_properties_set(properties, PW_KEY_NODE_NAME, "parlovance-microphone");
    pw_properties_set(properties, PW_KEY_NODE_DESCRIPTION, "Parlovance 麦克风");
    pw_properties_set(properties, PW_KEY_TARGET_OBJECT,
                      QByteArray::number(*settings.microphone).constData());
    // Session managers differ in which of these they know. Together they never link the stream to
    // another device: not when the microphone is gone before the first link, not when it goes
    // later, not because the user once moved a stream of this name.
    pw_properties_set(properties, PW_KEY_NODE_DONT_RECONNECT, "true");
    pw_properties_set(properties, "node.dont-fallback", "true");
    pw_properties_set(properties, "node.dont-move", "true");
    pw_properties_set(properties, "state.restore-target", "false");
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

/// The age that the sound of a microphone has at the start of its cycle: a device is asked once it
/// has captured a whole cycle, so that the age changes with the length of the cycles.
MediaTime ageOf(const pw_time &time)
{
    if (time.rate.denom == 0)
        return MediaTime(0);
    const double seconds = static_cast<double>(time.delay) * time.rate.num / time.rate.denom;
    constexpr double oldest = 1.0;
    return std::chrono::round<MediaTime>(
        std::chrono::duration<double>(std::clamp(seconds, 0.0, oldest)));
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
        PipeWireStream &stream = self(data);
        stream.m_node = pw_stream_get_node_id(stream.m_stream.get());
        if (state == PW_STREAM_STATE_STREAMING)
            stream.m_connection->nameDataThread();
        if (state == PW_STREAM_STATE_UNCONNECTED || state == PW_STREAM_STATE_ERROR)
            stream.fail(message);
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
                               const PipeWireStreamSettings &settings, WakeUp &worker)
    : m_connection(std::move(connection))
    , m_settings(settings)
    , m_worker(worker)
    , m_ring(SampleRing::tenSeconds(settings.channelCount))
{
}

std::expected<std::unique_ptr<PipeWireStream>, Error>
PipeWireStream::open(std::shared_ptr<PipeWireConnection> connection,
                     const PipeWireStreamSettings &settings, WakeUp &worker)
{
    std::unique_ptr<PipeWireStream> stream(
        new PipeWireStream(std::move(connection), settings, worker));
    if (const auto connected = stream->connect(); !connected)
        return std::unexpected(connected.error());
    return stream;
}

std::expected<void, Error> PipeWireStream::connect()
{
    const auto failed = [](int code) {
        return std::unexpected(Error(u"无法打开录音流（%1）"_s.arg(systemErrorText(-code))));
    };
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
    // Ask for the stream's time here, where it is that of the buffer in hand.
    if (frames > 0 && pw_stream_get_time_n(m_stream.get(), &time, sizeof time) == 0) {
        const MediaTime age = m_settings.microphone ? ageOf(time) : MediaTime(0);
        const CapturedCycle cycle{plausible(MediaTime(time.now)), time.ticks, time.rate.denom,
                                  static_cast<quint32>(frames), age};
        m_ring.write(cycle, samples.first(frames * channels));
    }
    pw_stream_queue_buffer(m_stream.get(), buffer);
    m_cycles.fetch_add(1, std::memory_order_release);
    m_worker.wake();
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

bool PipeWireStream::isLinked() const
{
    return m_connection->ask([this](const AudioGraph &graph) { return graph.isLinked(m_node); });
}

void PipeWireStream::fail(const char *message)
{
    if (m_isClosing)
        return;
    const std::string_view reason = message != nullptr ? message : "stream removed";
    // Before the first sound start() waits for it in vain, which is then told. The stream of a
    // microphone is not used again.
    if (reason == noDevice && !m_settings.microphone)
        return;
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_failure)
            m_failure = Error(u"声音服务已断开"_s);
    }
    logger.error(u"the stream ended: %1"_s.arg(
        QString::fromUtf8(reason.data(), static_cast<qsizetype>(reason.size()))));
    m_worker.wake();
}
