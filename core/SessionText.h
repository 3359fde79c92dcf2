#pragma once

#include <QDateTime>
#include <QString>

/// The short texts that stand for durations and dates. Any thread. Seconds that are not finite, or
/// too many for 64 bits, are taken as the nearest number that can be shown.
///
/// "00:01:15": hours, minutes and seconds, rounded down.
QString elapsedText(double seconds);

/// "59s", "1m", "1h 2m": rounded down to the last unit shown.
QString formatDuration(double seconds);

/// How long ago \p date was at \p now, in Chinese: minutes, hours or days, and from thirty days on
/// the month and day in the local time zone. "刚刚" for the last minute and for the future.
QString relativeTime(const QDateTime &date, const QDateTime &now);

/// The title of a recording that the user did not name, with the local time of \p now.
QString defaultTitle(const QDateTime &now);
