#include "settings/PrefsStore.h"

#include "base/RawValue.h"
#include "platform/Defaults.h"
#include "platform/LoginItem.h"

#include <tuple>

using namespace Qt::StringLiterals;

QString rawValue(UploadStrategy strategy)
{
    switch (strategy) {
    case UploadStrategy::manual:
        return u"manual"_s;
    case UploadStrategy::immediate:
        return u"immediate"_s;
    case UploadStrategy::wifiOnly:
        return u"wifiOnly"_s;
    }
    Q_UNREACHABLE();
}

QString rawValue(AudioQuality quality)
{
    switch (quality) {
    case AudioQuality::standard:
        return u"standard"_s;
    case AudioQuality::high:
        return u"high"_s;
    case AudioQuality::lossless:
        return u"lossless"_s;
    }
    Q_UNREACHABLE();
}

namespace
{
const auto audioQualityKey = u"prefs.audioQuality"_s;
const auto uploadStrategyKey = u"prefs.uploadStrategy"_s;
const auto autoDetectMeetingKey = u"prefs.autoDetectMeeting"_s;
const auto saveLocationKey = u"prefs.saveLocation"_s;
const auto launchAtLoginKey = u"prefs.launchAtLogin"_s;
const auto hasCompletedOnboardingKey = u"prefs.hasCompletedOnboarding"_s;

PrefsStore *sharedStore = nullptr;

/// The stored case when it is one of \p choices, otherwise \p fallback.
template<class Case>
Case choice(const std::optional<QString> &stored, const auto &choices, Case fallback)
{
    return caseWithRawValue(choices, stored.value_or(QString())).value_or(fallback);
}
} // namespace

PrefsStore::PrefsStore(Defaults &defaults, LoginItem &loginItem, const QString &homePath,
                       QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_loginItem(loginItem)
    , m_audioQuality(choice(defaults.string(audioQualityKey), recordingCases, AudioQuality::high))
    , m_uploadStrategy(
          choice(defaults.string(uploadStrategyKey), activeCases, UploadStrategy::manual))
    , m_autoDetectMeeting(defaults.boolean(autoDetectMeetingKey).value_or(false))
    , m_saveLocation(defaults.string(saveLocationKey)
                         .value_or(QDir(homePath).filePath(u"Documents/Parlovance"_s)))
    , m_launchAtLogin(defaults.boolean(launchAtLoginKey).value_or(false))
    , m_hasCompletedOnboarding(defaults.boolean(hasCompletedOnboardingKey).value_or(false))
{
}

PrefsStore::~PrefsStore()
{
    if (sharedStore == this)
        sharedStore = nullptr;
}

PrefsStore &PrefsStore::shared()
{
    Q_ASSERT(sharedStore);
    return *sharedStore;
}

void PrefsStore::share(PrefsStore &store)
{
    Q_ASSERT(!sharedStore);
    sharedStore = &store;
}

void PrefsStore::setAudioQuality(AudioQuality quality)
{
    m_audioQuality = quality;
    m_defaults.setString(audioQualityKey, rawValue(quality));
    Q_EMIT changed();
}

void PrefsStore::setUploadStrategy(UploadStrategy strategy)
{
    m_uploadStrategy = strategy;
    m_defaults.setString(uploadStrategyKey, rawValue(strategy));
    Q_EMIT changed();
}

void PrefsStore::setAutoDetectMeeting(bool enabled)
{
    m_autoDetectMeeting = enabled;
    Q_EMIT changed();
}

void PrefsStore::setSaveLocation(const QString &path)
{
    m_saveLocation = path;
    m_defaults.setString(saveLocationKey, path);
    Q_EMIT changed();
}

void PrefsStore::setLaunchAtLogin(bool enabled)
{
    m_launchAtLogin = enabled;
    m_defaults.setBoolean(launchAtLoginKey, enabled);
    // The user's wish stays stored when the desktop refuses; nothing is shown for it.
    std::ignore = enabled ? m_loginItem.registerItem() : m_loginItem.unregisterItem();
    Q_EMIT changed();
}

void PrefsStore::setHasCompletedOnboarding(bool completed)
{
    m_hasCompletedOnboarding = completed;
    m_defaults.setBoolean(hasCompletedOnboardingKey, completed);
    Q_EMIT changed();
}
