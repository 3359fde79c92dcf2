#include "audio/AudioRecorder.h"

#include "audio/ClosedTracks.h"
#include "base/Tasks.h"
#include "platform/AudioAssets.h"
#include "platform/Clock.h"
#include "platform/Volume.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr std::chrono::seconds roomToStart{120};

AudioQuality sourceQuality(AudioQuality quality)
{
    return quality == AudioQuality::standard ? AudioQuality::standard : AudioQuality::high;
}
} // namespace

AudioRecorder::AudioRecorder(const AudioPlatform &platform)
    : m_platform(platform)
    , m_system(platform.captureService, platform.writers, platform.clock)
    , m_mic(platform.microphones)
{
}

AudioRecorder::~AudioRecorder() = default;

QCoro::Task<std::expected<void, Error>> AudioRecorder::start(bool systemOn, bool micOn,
                                                             RecordingSettings settings)
{
    using enum AudioRecorderError;
    if (m_isActive || m_isBusy)
        co_return std::unexpected(recordingError(alreadyRecording));
    if (!systemOn && !micOn)
        co_return std::unexpected(recordingError(noSourceEnabled));
    const RecordingRoom room = recordingRoom(settings, systemOn, micOn);
    const QPointer self(this);
    m_isBusy = true;
    const auto files = co_await makeURLs(settings, room);
    Started started;
    if (!files)
        started = std::unexpected(files.error());
    else if (self)
        started = co_await startSources(systemOn, micOn, *files, sourceQuality(settings.quality));
    if (!self)
        co_return started;
    m_isBusy = false;
    if (!started)
        co_return started;
    m_room = room;
    m_isActive = true;
    if (systemOn && micOn) {
        m_mixAhead = m_platform.assets.mixAhead(files->system.toLocalFile(),
                                                files->mic.toLocalFile(), files->mix.toLocalFile());
    }
    co_return started;
}

QCoro::Task<AudioRecorder::Started>
AudioRecorder::startSources(bool systemOn, bool micOn, RecordingFiles files, AudioQuality quality)
{
    const QPointer self(this);
    if (systemOn) {
        const auto started = co_await m_system.start(files.system, quality);
        if (!started || !self)
            co_return started;
        m_systemURL = files.system;
    }
    if (micOn) {
        const auto started = co_await m_mic.start(files.mic, quality);
        if (!started && self && systemOn)
            co_await abandonSystem();
        if (!started)
            co_return Started(std::unexpected(started.error()));
        if (self)
            m_micURL = files.mic;
    }
    co_return Started();
}

QCoro::Task<> AudioRecorder::abandonSystem()
{
    AudioAssets &assets = m_platform.assets;
    m_systemURL.reset();
    const auto file = co_await m_system.stop();
    const bool hasContent = co_await fileHasContent(file);
    if (hasContent)
        co_await finishTrack(assets, *file);
}

QCoro::Task<std::optional<QUrl>> AudioRecorder::stop()
{
    if (!m_isActive)
        co_return std::nullopt;
    const QPointer self(this);
    AudioAssets &assets = m_platform.assets;
    m_isActive = false;
    m_isBusy = true;
    m_finishFailure.reset();
    auto ahead = std::move(m_mixAhead);
    const auto systemFile = co_await m_system.stop();
    if (!self)
        co_return std::nullopt; // closing: the tracks stay as they are, and play
    const auto micFile = co_await m_mic.stop();
    if (self) {
        m_isBusy = false;
        m_systemURL.reset();
        m_micURL.reset();
    }
    const auto concluded =
        co_await concludeRecording(assets, systemFile, micFile, std::move(ahead));
    if (self)
        m_finishFailure = concluded.failure;
    co_return concluded.file;
}

QCoro::Task<QList<UnlistedRecording>> AudioRecorder::unlistedRecordings(RecordingSettings settings,
                                                                        QDateTime since)
{
    return ::unlistedRecordings(m_platform.assets, std::move(settings), std::move(since));
}

QCoro::Task<std::optional<RecoveredRecording>> AudioRecorder::recover(UnlistedRecording recording,
                                                                      std::stop_token stop)
{
    return recoverRecording(m_platform.assets, std::move(recording), std::move(stop));
}

AudioRecorder::Levels AudioRecorder::currentLevels()
{
    Levels levels;
    if (!m_isActive)
        return levels;
    if (m_systemURL)
        levels.system = m_system.currentLevel();
    if (m_micURL && m_mic.recorder()) {
        // A straight line over 50 dB, from -50 dB and below to full scale.
        const auto power = double{m_mic.recorder()->averagePower(0)};
        levels.mic = power < 0.0 ? (std::max(power, -50.0) + 50.0) / 50.0 : 1.0;
    }
    return levels;
}

QCoro::Task<bool> AudioRecorder::hasRoomFor(std::chrono::seconds duration)
{
    if (!m_isActive || m_isAskingForRoom)
        co_return true;
    const QPointer self(this);
    m_isAskingForRoom = true;
    const auto ask = [room = m_room, &volume = m_platform.volume, duration] {
        return room.lasts(volume, duration);
    };
    const auto answer = inBackground(ask);
    const bool hasRoom = co_await answer;
    if (self)
        m_isAskingForRoom = false;
    co_return hasRoom;
}

void AudioRecorder::setOnSystemAudioError(std::function<void(const QString &)> handler)
{
    m_system.setOnStopWithError(std::move(handler));
}

void AudioRecorder::setOnMicEvent(std::function<void(const MicrophoneEvent &)> handler)
{
    m_mic.setOnEvent(std::move(handler));
}

QCoro::Task<std::expected<RecordingFiles, Error>>
AudioRecorder::makeURLs(RecordingSettings settings, RecordingRoom room)
{
    const QPointer self(this);
    const auto prepare = [settings, room, &volume = m_platform.volume] {
        auto prepared = createSaveFolder(settings);
        if (prepared && !room.lasts(volume, roomToStart)) {
            prepared = std::unexpected(
                recordingError(AudioRecorderError::directoryUnavailable, u"磁盘空间不足"_s));
        }
        return prepared;
    };
    const auto preparing = inBackground(prepare);
    const auto prepared = co_await preparing;
    if (!prepared)
        co_return std::unexpected(prepared.error());
    if (!self) // the application is closing
        co_return std::unexpected(recordingError(AudioRecorderError::alreadyRecording));
    co_return recordingFiles(settings, m_platform.clock.now());
}
