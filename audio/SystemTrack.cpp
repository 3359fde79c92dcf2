#include "audio/SystemTrack.h"

#include "audio/PeakMeter.h"
#include "audio/SystemAudioRecorder.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

SystemTrack::SystemTrack(QPointer<SystemAudioRecorder> owner, std::shared_ptr<PeakMeter> meter,
                         std::shared_ptr<AudioFileWriter> writer)
    : m_owner(std::move(owner))
    , m_meter(std::move(meter))
    , m_writer(std::move(writer))
{
}

void SystemTrack::didCapture(const AudioBuffer &buffer)
{
    if (buffer.frameCount() < 1)
        return;
    if (!m_sessionStarted) {
        m_writer->startSession(buffer.presentationTime);
        m_sessionStarted = true;
    }
    if (m_writer->isReady())
        m_writer->append(buffer);
    m_meter->update(buffer.samples);

    if (m_writerFailed || m_writer->isReady())
        return;
    // Once in the life of a track; only here this queue allocates.
    if (const auto failure = m_writer->failure()) {
        m_writerFailed = true;
        m_logger.error(u"system track: "_s + failure->description());
        reportEnd(*failure);
    }
}

void SystemTrack::didStop(const Error &reason)
{
    m_logger.error(u"SCStream stopped: "_s + reason.description());
    reportEnd(reason);
}

void SystemTrack::reportEnd(const Error &reason)
{
    auto *const application = QCoreApplication::instance();
    if (m_reported.exchange(true) || !application)
        return;
    const auto tell = [owner = m_owner, text = reason.description()] {
        if (owner)
            owner->reportStop(text);
    };
    QMetaObject::invokeMethod(application, tell, Qt::QueuedConnection);
}
