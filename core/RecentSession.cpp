#include "core/RecentSession.h"

#include <utility>

using namespace Qt::StringLiterals;

QString rawValue(RecentSession::Status status)
{
    switch (status) {
    case RecentSession::Status::ready:
        return u"ready"_s;
    case RecentSession::Status::processing:
        return u"processing"_s;
    case RecentSession::Status::failed:
        return u"failed"_s;
    }
    std::unreachable();
}
