#pragma once

#include "audio/AudioRecorder.h"
#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"

class CaptureAccess;
class HttpSession;
class PrefsStore;
class SecretStore;
class SleepInhibitor;
class UpdateAlert;
class Workspace;

/// What the application stands on; everything must outlive it.
struct AppPlatform {
    AudioPlatform audio;
    PrefsStore &prefs;
    BundleInformation bundle;
    ConfiguredOrigin serviceOrigin;
    HttpSession &http;
    SecretStore &secrets;
    CaptureAccess &access;
    Workspace &workspace;
    SleepInhibitor &sleepInhibitor;
    UpdateAlert &alert;
};
