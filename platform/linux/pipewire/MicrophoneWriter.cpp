#include "platform/linux/pipewire/MicrophoneWriter.h"

#include "platform/AudioBuffer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

MicrophoneWriter::MicrophoneWriter(std::unique_ptr<AudioFileWriter> writer, TrackOrigin &origin,
                                   EventHandler handler)
    : m_writer(std::move(writer))
    , m_origin(origin)
    , m_handler(std::move(handler))
{
}

void MicrophoneWriter::didCapture(const AudioBuffer &buffer)
{
    if (m_isMetering)
        m_meter.add(buffer, mediaNow());
    if (!m_hasBegun)
        begin(buffer.presentationTime);
    // A capture that was told to have ended may still come back; a file that failed does not.
    const bool isWritten = m_writer->isReady() && m_writer->append(buffer);
    if (!isWritten && !m_hasEnded)
        end(m_writer->failure().value_or(Error(u"麦克风录音文件写入失败"_s)).description());
}

void MicrophoneWriter::begin(MediaTime firstSound)
{
    m_hasBegun = true;
    // However long ago the other track began: the question for access may have been answered late.
    m_writer->startSession(std::min(m_origin.time().value_or(firstSound), firstSound));
}

void MicrophoneWriter::didStop(const Error &reason)
{
    end(reason.description());
}

void MicrophoneWriter::microphoneChanged(bool isPresent)
{
    if (m_hasEnded)
        return;
    m_handler(isPresent ? MicrophoneEvent{MicrophoneEvent::Kind::resumed, {}}
                        : MicrophoneEvent{MicrophoneEvent::Kind::interrupted,
                                          u"麦克风已断开，重新接上之前将录为静音"_s});
}

void MicrophoneWriter::end(const QString &text)
{
    if (m_hasEnded)
        return;
    m_hasEnded = true;
    m_handler(MicrophoneEvent{MicrophoneEvent::Kind::ended, text});
}
