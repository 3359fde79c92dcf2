#pragma once

#include "platform/AudioBuffer.h"
#include "platform/linux/pipewire/AudioGraph.h"

#include <optional>
#include <vector>

/// What a stream was linked to, and when. Used under the lock of its owner.
class FeedHistory
{
public:
    /// Notes that from \p time on the stream is fed by \p feed.
    void note(MediaTime time, Feed feed);

    Feed current() const { return m_current; }

    /// Since when the current feed has been there; none before the first note.
    std::optional<MediaTime> since() const { return m_since; }

    /// Whether something else than a microphone was linked at any time from \p begin to \p end.
    bool wasOther(MediaTime begin, MediaTime end) const;

    /// Forgets what was over before \p time.
    void forgetBefore(MediaTime time);

private:
    struct Interval {
        MediaTime begin;
        MediaTime end;
    };

    Feed m_current = Feed::nothing;
    std::optional<MediaTime> m_since;
    std::vector<Interval> m_others; ///< that are over
};
