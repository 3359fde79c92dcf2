#include "tests/support/LiveSound.h"

#include "base/Tasks.h"
#include "platform/AudioBuffer.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
bool waitForSound(const KeptSound &sound, double seconds)
{
    const auto limit = static_cast<int>(seconds * 1000.0) + 15'000;
    return QTest::qWaitFor([&] { return sound.seconds() >= seconds; }, limit);
}
} // namespace

LiveCapture::LiveCapture(Connection &connection, std::chrono::seconds stall)
    : m_service(connection.server, connection.origin)
{
    kept.stall = stall;
    QElapsedTimer timer;
    timer.start();
    m_stream = m_service.makeStream({}, CaptureFormat());
    started = m_stream->deliverTo(kept, u"com.parlovance.audio.system"_s);
    if (started)
        started = QCoro::waitFor(m_stream->start());
    startMilliseconds = timer.elapsed();
}

bool LiveCapture::waitFor(double seconds) const
{
    return waitForSound(kept.sound, seconds);
}

void LiveCapture::end()
{
    const MediaTime before = mediaNow();
    QCoro::waitFor(m_stream->stop());
    stopMilliseconds = std::chrono::duration<double, std::milli>(mediaNow() - before).count();
    lengthError = kept.sound.lengthError(before, mediaNow());
}

LiveMicrophone::LiveMicrophone(Connection &connection)
    : m_microphones(connection.server, connection.origin, writers)
{
    auto created = QCoro::waitFor(m_microphones.create(u"/nowhere"_s, {48000, 1, 48000}));
    if (!created) {
        refusal = created.error().description();
        return;
    }
    recorder = std::move(*created);
    recorder->setMeteringEnabled(true);
    recorder->setEventHandler([this](const MicrophoneEvent &event) {
        events.append(event.kind);
        texts.append(event.text);
    });
    QElapsedTimer timer;
    timer.start();
    isRunning = QCoro::waitFor(recorder->prepare()) && QCoro::waitFor(recorder->record());
    startMilliseconds = timer.elapsed();
}

bool LiveMicrophone::waitFor(double seconds) const
{
    return waitForSound(writers.sound, seconds);
}

void LiveMicrophone::end()
{
    const MediaTime before = mediaNow();
    QCoro::waitFor(recorder->stop());
    lengthError = writers.sound.lengthError(before, mediaNow());
}
