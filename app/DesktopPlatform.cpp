#include "app/DesktopPlatform.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace
{

// The same distance in the build tree and where the program is installed.
QString bundleInformationPath()
{
    return QCoreApplication::applicationDirPath() +
           u"/../share/parlovance/bundle-information.json"_s;
}

QString identifier(const BundleInformation &bundle)
{
    return bundle.identifier().value_or(u"com.parlovance.mac"_s);
}

} // namespace

DesktopPlatform::DesktopPlatform()
    : m_bundle(BundleInformation::fromFile(bundleInformationPath()))
    , m_defaults(JsonDefaults::standardPath(identifier(m_bundle)))
    , m_loginItem(AutostartEntry::standardPath(u"com.parlovance.Parlovance"_s),
                  {QCoreApplication::applicationFilePath()})
    , m_writers(m_liveTracks)
    , m_assets(m_liveTracks)
    , m_captureService(m_soundServer, m_trackOrigin)
    , m_microphones(m_soundServer, m_trackOrigin, m_writers)
{
}

AudioPlatform DesktopPlatform::audio()
{
    return AudioPlatform{.captureService = m_captureService,
                         .microphones = m_microphones,
                         .writers = m_writers,
                         .assets = m_assets,
                         .volume = m_volume,
                         .clock = m_clock};
}
