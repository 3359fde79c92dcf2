#pragma once

#include "app/AppPlatform.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/JsonDefaults.h"
#include "platform/linux/desktop/RememberedAccess.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/SystemVolume.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/network/CurlHttpSession.h"
#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "platform/linux/workspace/DesktopWorkspace.h"
#include "platform/linux/workspace/LoginSleepInhibitor.h"

/// The real platform under the program, made once by main(). Main thread.
class DesktopPlatform
{
public:
    /// For BusApplication: beside the settings that it keeps for one writer.
    static QString lockPath();

    /// \p bundleInformation is the path of a file to read instead of the installed one; empty for
    /// that.
    explicit DesktopPlatform(const QString &bundleInformation = {});

    Defaults &defaults() { return m_defaults; }
    LoginItem &loginItem() { return m_loginItem; }

    /// The platform as the application takes it; its references live as long as this object.
    AppPlatform app(PrefsStore &prefs, UpdateAlert &alert);

private:
    BundleInformation m_bundle;
    ConfiguredOrigin m_serviceOrigin;
    CurlHttpSession m_http;
    JsonDefaults m_defaults;
    AutostartEntry m_loginItem;
    SystemClock m_clock;
    SystemVolume m_volume;
    PipeWireServer m_soundServer;
    TrackOrigin m_trackOrigin;
    LiveTracks m_liveTracks;
    TrackWriterFactory m_writers;
    FileAudioAssets m_assets;
    PipeWireCaptureService m_captureService;
    PipeWireMicrophones m_microphones;
    RememberedAccess m_access{m_defaults, m_microphones, m_captureService};
    SecretServiceStore m_secrets{m_defaults};
    DesktopWorkspace m_workspace;
    LoginSleepInhibitor m_sleepInhibitor;
};
