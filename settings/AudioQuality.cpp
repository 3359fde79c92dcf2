#include "settings/AudioQuality.h"

using namespace Qt::StringLiterals;

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
