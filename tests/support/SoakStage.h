#pragma once

#include "cloud/AuthClient.h"
#include "core/AppState.h"
#include "platform/linux/desktop/JsonDefaults.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/network/CurlHttpSession.h"
#include "settings/PrefsStore.h"
#include "tests/support/FakeCapture.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/FakeMicrophones.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeVolume.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/GatedHttpSession.h"
#include "tests/support/SoakJournal.h"

#include <functional>
#include <random>

/// The application's state on real files and a real connection, with a user who does this and that
/// at random, and a machine that lets him down. A second of sound is there with every tick of the
/// counter, however fast that ticks. Where it waits in vain the process ends at once.
class SoakStage
{
public:
    /// Goes on in \p home where an earlier process ended.
    SoakStage(const QString &home, const QString &origin, SoakJournal &journal, quint32 seed);

    /// Records \p count times, about \p longest seconds at most, and does much else besides.
    void live(int count, int longest);

    /// Records for so long, unless something comes in between. Does not stop.
    void record(int seconds);

    /// Leaves in good order, whatever is going on.
    void quit();

    /// Uploads everything that is not.
    void settle();

    /// Waits until nothing is going on, and notes what the process takes then.
    void measure(size_t number);

private:
    void waitUntil(const std::function<bool()> &condition) const;
    int upTo(int most) { return std::uniform_int_distribution(1, most)(m_random); }
    bool happens(int percent) { return upTo(100) <= percent; }

    void passTime(int seconds);
    void tick();
    void followState();
    void troubleDevices();
    void useCloud();
    void rest() const;
    void signIn();
    void keepSecrets() const;
    QCoro::Task<> recover();
    QCoro::Task<> leave();

    const QString m_home;
    SoakJournal &m_journal;
    SoakJournal::Recording *m_recording = nullptr; ///< while it lasts
    bool m_hasRecovered = false;
    bool m_hasLeft = false;
    std::mt19937 m_random;
    Script m_script;
    FakeClock m_clock;
    FakeVolume m_volume;
    FakeCaptureService m_capture{m_script};
    LiveTracks m_tracks;
    TrackWriterFactory m_writers{m_tracks};
    FakeMicrophones m_microphones{m_script};
    FileAudioAssets m_assets{m_tracks};
    JsonDefaults m_defaults;
    FakeLoginItem m_loginItem;
    PrefsStore m_prefs;
    CurlHttpSession m_realHttp;
    Script m_exchanges;
    GatedHttpSession m_http{m_realHttp, m_exchanges};
    FakeSecretStore m_secrets;
    FakeWorkspace m_workspace;
    std::optional<AuthClient> m_auth;
    std::optional<AppState> m_app;
};
