#pragma once

#include "audio/AudioRecorder.h"
#include "platform/BundleInformation.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/JsonDefaults.h"
#include "platform/linux/desktop/SystemClock.h"
#include "platform/linux/desktop/SystemVolume.h"
#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"

/// The real platform under the program, made once by main(). Main thread.
class DesktopPlatform
{
public:
    DesktopPlatform();

    const BundleInformation &bundle() const { return m_bundle; }
    Defaults &defaults() { return m_defaults; }
    LoginItem &loginItem() { return m_loginItem; }

    /// What recording needs. The references live as long as this object.
    AudioPlatform audio();

private:
    BundleInformation m_bundle;
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
};
