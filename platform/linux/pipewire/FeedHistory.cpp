#include "platform/linux/pipewire/FeedHistory.h"

#include <algorithm>

void FeedHistory::note(MediaTime time, Feed feed)
{
    if (m_since && feed == m_current)
        return;
    if (m_since && m_current == Feed::other)
        m_others.push_back({*m_since, time});
    m_current = feed;
    m_since = time;
}

bool FeedHistory::wasOther(MediaTime begin, MediaTime end) const
{
    if (m_current == Feed::other && m_since <= end)
        return true;
    return std::ranges::any_of(m_others, [&](const Interval &interval) {
        return interval.begin <= end && interval.end >= begin;
    });
}

void FeedHistory::forgetBefore(MediaTime time)
{
    std::erase_if(m_others, [&](const Interval &interval) { return interval.end < time; });
}
