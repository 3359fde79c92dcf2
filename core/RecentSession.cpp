#include "core/RecentSession.h"

#include <utility>

using namespace Qt::StringLiterals;

QString rawValue(SessionTag tag)
{
    switch (tag) {
    case SessionTag::meeting:
        return u"会议"_s;
    case SessionTag::interview:
        return u"访谈"_s;
    case SessionTag::notes:
        return u"笔记"_s;
    case SessionTag::call:
        return u"通话"_s;
    }
    std::unreachable();
}

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
