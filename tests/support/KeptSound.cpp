#include "tests/support/KeptSound.h"

#include <QMutexLocker>

#include <algorithm>
#include <cmath>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

void KeptSound::begin(MediaTime time)
{
    const QMutexLocker lock(&m_mutex);
    m_origin = time;
}

void KeptSound::append(const AudioBuffer &buffer)
{
    const QMutexLocker lock(&m_mutex);
    const double seconds =
        std::chrono::duration<double>(buffer.presentationTime - m_origin).count();
    const auto place = static_cast<std::size_t>(std::llround(seconds * buffer.sampleRate));
    m_isWithoutHoles = m_isWithoutHoles && (place == m_samples.size() || m_samples.empty());
    m_samples.resize(place);
    for (std::size_t frame = 0; frame < buffer.frameCount(); ++frame)
        m_samples.push_back(buffer.samples[frame * static_cast<std::size_t>(buffer.channelCount)]);
}

MediaTime KeptSound::origin() const
{
    const QMutexLocker lock(&m_mutex);
    return m_origin;
}

std::vector<float> KeptSound::samples() const
{
    const QMutexLocker lock(&m_mutex);
    return m_samples;
}

double KeptSound::seconds() const
{
    const QMutexLocker lock(&m_mutex);
    return static_cast<double>(m_samples.size()) / 48000.0;
}

double KeptSound::lengthError(MediaTime earliestEnd, MediaTime latestEnd) const
{
    const auto length = [this](MediaTime end) {
        return std::chrono::duration<double>(end - origin()).count();
    };
    return std::max(seconds() - length(latestEnd), std::min(0.0, seconds() - length(earliestEnd)));
}

bool KeptSound::isWithoutHoles() const
{
    const QMutexLocker lock(&m_mutex);
    return m_isWithoutHoles;
}

void KeptCapture::didCapture(const AudioBuffer &buffer)
{
    std::this_thread::sleep_for(std::exchange(stall, std::chrono::seconds(0)));
    if (!m_hasBegun)
        sound.begin(buffer.presentationTime);
    m_hasBegun = true;
    sound.append(buffer);
}

void KeptCapture::didStop(const Error &reason)
{
    const QMutexLocker lock(&m_mutex);
    m_stopReasons.append(reason.description());
}

QStringList KeptCapture::stopReasons() const
{
    const QMutexLocker lock(&m_mutex);
    return m_stopReasons;
}

namespace
{
class KeptSoundWriter : public AudioFileWriter
{
public:
    explicit KeptSoundWriter(KeptSoundWriters &writers)
        : m_writers(writers)
    {
    }

    bool addInput(const AudioEncoding &encoding) override
    {
        m_writers.encoding = encoding;
        return true;
    }
    bool startWriting() override { return true; }
    void startSession(MediaTime time) override { m_writers.sound.begin(time); }
    bool isReady() const override { return !m_writers.isFull; }
    bool append(const AudioBuffer &buffer) override
    {
        if (m_writers.isFull)
            return false;
        m_writers.sound.append(buffer);
        return true;
    }
    std::optional<Error> failure() const override
    {
        return m_writers.isFull ? std::optional(Error(u"磁盘空间不足"_s)) : std::nullopt;
    }
    QCoro::Task<> finish() override
    {
        m_writers.isFinished = true;
        co_return;
    }
    void cancel() override {}

private:
    KeptSoundWriters &m_writers;
};
} // namespace

std::expected<std::unique_ptr<AudioFileWriter>, Error> KeptSoundWriters::create(const QString &)
{
    return std::make_unique<KeptSoundWriter>(*this);
}
