#include "app/DesktopPlatform.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace
{
const auto standardIdentifier = u"com.parlovance.mac"_s;

// The way from the program to its files is the same in the build tree and where it is installed.
QString bundleInformationPath()
{
    return QCoreApplication::applicationDirPath() +
           u"/../share/parlovance/bundle-information.json"_s;
}

/// The path of the program as the user started it, for the login item to start the same.
QStringList command(const QString &bundleInformation, const QStringList &options = {})
{
    QStringList command{QCoreApplication::applicationFilePath()};
    command += options;
    if (!bundleInformation.isEmpty())
        command += QStringList{u"--bundle-information"_s, bundleInformation};
    return command;
}

QString identifier(const BundleInformation &bundle)
{
    return bundle.identifier().value_or(standardIdentifier);
}

// Unencrypted only where the whole service runs on this machine.
HttpSettings httpSettings(const ConfiguredOrigin &origin)
{
    HttpSettings settings;
    if (origin && origin->isLoopback())
        settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
    return settings;
}

} // namespace

QString DesktopPlatform::lockPath()
{
    return JsonDefaults::standardPath(standardIdentifier, u"lock"_s);
}

DesktopPlatform::DesktopPlatform(const QString &bundleInformation)
    : m_bundle(BundleInformation::fromFile(bundleInformation.isEmpty() ? bundleInformationPath()
                                                                       : bundleInformation))
    , m_serviceOrigin(ServiceOrigin::parse(m_bundle.serviceOrigin().value_or(QString())))
    , m_http(httpSettings(m_serviceOrigin))
    , m_defaults(JsonDefaults::standardPath(identifier(m_bundle)))
    , m_loginItem(AutostartEntry::standardPath(u"com.parlovance.Parlovance"_s),
                  command(bundleInformation))
    , m_writers(m_liveTracks)
    , m_assets(m_liveTracks)
    , m_captureService(m_soundServer, m_trackOrigin)
    , m_microphones(m_soundServer, m_trackOrigin, m_writers)
    , m_workspace(command(bundleInformation, {u"--relaunched"_s}))
{
}

AppPlatform DesktopPlatform::app(PrefsStore &prefs, UpdateAlert &alert)
{
    const AudioPlatform audio{
        .captureService = m_access,
        .microphones = m_access,
        .writers = m_writers,
        .assets = m_assets,
        .volume = m_volume,
        .clock = m_clock,
        .journalPath = JsonDefaults::standardPath(identifier(m_bundle), u"recordings.json"_s)};
    return AppPlatform{.audio = audio,
                       .prefs = prefs,
                       .bundle = m_bundle,
                       .serviceOrigin = m_serviceOrigin,
                       .http = m_http,
                       .secrets = m_secrets,
                       .access = m_access,
                       .workspace = m_workspace,
                       .sleepInhibitor = m_sleepInhibitor,
                       .alert = alert};
}
