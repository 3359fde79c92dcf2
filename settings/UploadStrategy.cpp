#include "settings/UploadStrategy.h"

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
