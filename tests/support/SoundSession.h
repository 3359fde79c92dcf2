#pragma once

#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <span>
#include <vector>

/// What tests do to the private session that they run in: devices, players, the server itself.
namespace SoundSession
{
/// Runs a program to its end; what it printed, trimmed. Fails the process when it cannot be run.
QString run(const QStringList &command);

/// Waits until \p command prints \p text. False after ten seconds.
bool waitForOutput(const QStringList &command, const QString &text);

/// Adds a virtual device, and returns the number that removes it.
QString addSink(const QString &name);
QString addMicrophone(const QString &name);
void removeDevice(const QString &module);

/// The session's own process of this name, or none.
std::optional<qint64> processNamed(const QString &name);

/// A file of \p seconds that counts its frames, from \p sign * 1 / 2^24 on: every sample tells its
/// place and whose it is, and passes the sound server bit by bit. Kept until the process ends.
QString counterFile(double seconds, int sign, int channels);

/// A program that runs until it is destroyed.
class Running
{
public:
    explicit Running(const QStringList &command);
    ~Running();
    Q_DISABLE_COPY_MOVE(Running)

private:
    QProcess m_process;
};

/// Plays a file on an output, or into a microphone, each by its name.
std::unique_ptr<Running> play(const QString &file, const QString &sink);
std::unique_ptr<Running> speak(const QString &file, const QString &microphone);
} // namespace SoundSession

/// What of a counter file is found in a track.
struct CounterTrace {
    qint64 frames = 0;   ///< samples of this sign
    qint64 skipped = 0;  ///< counts that are missing between the first and the last
    qint64 repeated = 0; ///< counts that go back
    qint64 altered = 0;  ///< samples of either sign that are no counts
    qint64 firstPlace = -1;
    qint64 lastPlace = -1;
    qint64 firstOffset = 0; ///< place minus count at the first sample
    qint64 lastOffset = 0;

    static CounterTrace find(std::span<const float> samples, int sign);
};
