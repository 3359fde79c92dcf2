#pragma once

#include <QDir>
#include <QObject>
#include <QString>

#include <array>

/// When a finished recording is uploaded. Stored by its raw value.
enum class UploadStrategy { manual, immediate, wifiOnly };

/// The strategies that can be chosen now, in the order in which they are offered.
inline constexpr std::array activeCases{UploadStrategy::manual, UploadStrategy::immediate};

QString rawValue(UploadStrategy strategy);

/// How well a recording sounds. Stored by its raw value.
enum class AudioQuality { standard, high, lossless };

/// The qualities that can be chosen now, in the order in which they are offered.
inline constexpr std::array recordingCases{AudioQuality::standard, AudioQuality::high};

QString rawValue(AudioQuality quality);

class Defaults;
class LoginItem;

/// The user's settings. Main thread.
///
/// Reads everything once, when it is made, and writes nothing then; every set is stored at once and
/// announced. One instance is made at start-up and shared; tests make their own.
class PrefsStore : public QObject
{
    Q_OBJECT

public:
    /// Both references must stay valid as long as the store. The default save folder lies below
    /// \p homePath.
    PrefsStore(Defaults &defaults, LoginItem &loginItem, const QString &homePath = QDir::homePath(),
               QObject *parent = nullptr);
    ~PrefsStore() override;

    /// The instance of this process. share() comes first.
    static PrefsStore &shared();

    /// Makes \p store the shared one for as long as it lives.
    static void share(PrefsStore &store);

    AudioQuality audioQuality() const { return m_audioQuality; }
    void setAudioQuality(AudioQuality quality);

    UploadStrategy uploadStrategy() const { return m_uploadStrategy; }
    void setUploadStrategy(UploadStrategy strategy);

    /// Kept in memory only: nothing is detected yet.
    bool autoDetectMeeting() const { return m_autoDetectMeeting; }
    void setAutoDetectMeeting(bool enabled);

    /// A path, taken literally. Nobody has looked whether the folder exists.
    const QString &saveLocation() const { return m_saveLocation; }
    void setSaveLocation(const QString &path);

    /// The user's wish; whether the desktop obeyed is not known.
    bool launchAtLogin() const { return m_launchAtLogin; }
    void setLaunchAtLogin(bool enabled);

    bool hasCompletedOnboarding() const { return m_hasCompletedOnboarding; }
    void setHasCompletedOnboarding(bool completed);

Q_SIGNALS:
    void changed();

private:
    Defaults &m_defaults;
    LoginItem &m_loginItem;
    AudioQuality m_audioQuality = AudioQuality::high;
    UploadStrategy m_uploadStrategy = UploadStrategy::manual;
    bool m_autoDetectMeeting = false;
    QString m_saveLocation;
    bool m_launchAtLogin = false;
    bool m_hasCompletedOnboarding = false;
};
