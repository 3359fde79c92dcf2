#include "platform/linux/media/TrackWriter.h"

#include "base/Tasks.h"
#include "platform/linux/media/AacEncoder.h"
#include "platform/linux/media/FragmentWriter.h"

#include <QFileInfo>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
/// Time stamps are rounded to frames; one more or less is no gap.
constexpr qint64 toleranceFrames = 1;

/// Encoded at a time where there is a hole.
constexpr qint64 silenceFrames = 4096;

/// \p time in frames, rounded. In two parts: the product would overflow after two days.
qint64 inFrames(MediaTime time, int sampleRate)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const qint64 nanoseconds = (time - seconds).count();
    return seconds.count() * sampleRate + (nanoseconds * sampleRate + 500'000'000) / 1'000'000'000;
}
} // namespace

struct TrackWriter::State {
    ~State() { close(); }

    void encode(std::span<const float> interleaved);
    void encodeSilence(qint64 frames);
    void finish();
    void close();
    void fail(const Error &error);

    AacEncoder::PacketHandler packetHandler()
    {
        return [this](const AacPacket &packet) { add(packet); };
    }
    void add(const AacPacket &packet);

    AudioEncoding encoding;
    std::optional<AacEncoder> encoder;
    std::optional<FragmentWriter> file; ///< while it is open
    std::shared_ptr<LiveTrack> live;    ///< while somebody can follow
    std::optional<MediaTime> sessionStart;
    std::optional<Error> failure;
};

void TrackWriter::State::add(const AacPacket &packet)
{
    if (failure)
        return;
    if (const auto added = file->addPacket(packet); !added)
        return fail(added.error());
    if (live.use_count() == 1)
        live.reset(); // nobody has it, and nobody can find it any more
    if (live)
        live->push(packet);
}

void TrackWriter::State::encode(std::span<const float> interleaved)
{
    if (const auto encoded = encoder->encode(interleaved, packetHandler()); !encoded)
        fail(encoded.error());
}

void TrackWriter::State::encodeSilence(qint64 frames)
{
    const qint64 channels = encoding.channelCount;
    const std::vector<float> silence(
        static_cast<std::size_t>(std::min(frames, silenceFrames) * channels));
    for (; frames > 0 && !failure; frames -= std::min(frames, silenceFrames))
        encode(std::span(silence).first(
            static_cast<std::size_t>(std::min(frames, silenceFrames) * channels)));
}

void TrackWriter::State::finish()
{
    if (!file)
        return;
    if (!failure) {
        if (const auto encoded = encoder->finish(packetHandler()); !encoded)
            fail(encoded.error());
    }
    if (!failure) {
        if (const auto finished = file->finish(encoder->frameCount()); !finished)
            fail(finished.error());
    }
    if (failure)
        file->syncRest();
    else if (live)
        live->end(encoder->frameCount());
    close();
}

void TrackWriter::State::close()
{
    if (live)
        live->lose(); // changes nothing when it has ended
    live.reset();
    file.reset();
}

void TrackWriter::State::fail(const Error &error)
{
    if (!failure)
        failure = error;
}

TrackWriter::TrackWriter(const QString &path, LiveTracks &liveTracks)
    : m_path(path)
    , m_liveTracks(liveTracks)
    , m_state(std::make_shared<State>())
{
}

TrackWriter::~TrackWriter()
{
    m_liveTracks.close(m_path);
}

bool TrackWriter::addInput(const AudioEncoding &encoding)
{
    auto encoder = AacEncoder::create(encoding);
    if (!encoder) {
        m_state->fail(encoder.error());
        return false;
    }
    m_state->encoding = encoding;
    m_state->encoder = *std::move(encoder);
    return true;
}

bool TrackWriter::startWriting()
{
    if (!m_state->encoder)
        return false;
    const AacFormat format = m_state->encoder->format();
    auto file = FragmentWriter::create(m_path, format);
    if (!file) {
        m_state->fail(file.error());
        return false;
    }
    m_state->file = *std::move(file);
    m_state->live = m_liveTracks.open(m_path, format);
    return true;
}

void TrackWriter::startSession(MediaTime presentationTime)
{
    m_state->sessionStart = presentationTime;
}

bool TrackWriter::isReady() const
{
    return m_state->file && !m_state->failure;
}

bool TrackWriter::append(const AudioBuffer &buffer)
{
    State &state = *m_state;
    Q_ASSERT(state.sessionStart);
    Q_ASSERT(buffer.channelCount == state.encoding.channelCount);
    Q_ASSERT(buffer.sampleRate == state.encoding.sampleRate);
    if (!isReady())
        return false;
    const qint64 position =
        inFrames(buffer.presentationTime - *state.sessionStart, buffer.sampleRate);
    const qint64 hole = position - state.encoder->frameCount();
    qint64 overlap = 0;
    if (hole > toleranceFrames)
        state.encodeSilence(hole);
    else if (hole < -toleranceFrames)
        overlap = std::min(-hole, static_cast<qint64>(buffer.frameCount()));
    if (isReady())
        state.encode(
            buffer.samples.subspan(static_cast<std::size_t>(overlap * buffer.channelCount)));
    return isReady();
}

std::optional<Error> TrackWriter::failure() const
{
    return m_state->failure;
}

QCoro::Task<> TrackWriter::finish()
{
    const auto work = [state = m_state] { state->finish(); };
    const QFuture<void> finished = inBackground(work);
    co_await finished;
}

void TrackWriter::cancel()
{
    m_state->close();
}

std::expected<std::unique_ptr<AudioFileWriter>, Error>
TrackWriterFactory::create(const QString &path)
{
    const QFileInfo folder(QFileInfo(path).path());
    if (!folder.isDir())
        return std::unexpected(Error(u"文件夹不存在：%1"_s.arg(folder.filePath())));
    return std::make_unique<TrackWriter>(path, m_liveTracks);
}
