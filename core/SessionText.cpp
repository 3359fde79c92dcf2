#include "core/SessionText.h"

#include <QLocale>

#include <time.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace
{
qint64 wholeSeconds(double seconds)
{
    using Limits = std::numeric_limits<qint64>;
    if (std::isnan(seconds))
        return 0;
    // 2^63 is the first number beyond the range that a double can hold.
    constexpr double beyond = 0x1p63;
    if (seconds >= beyond)
        return Limits::max();
    return seconds < -beyond ? Limits::min() : static_cast<qint64>(seconds);
}

/// Not by QDateTime, which looks up the zone's file at every conversion where TZ is not set: with
/// thousands of entries that can be felt.
QDate localDate(const QDateTime &date)
{
    const time_t seconds = date.toSecsSinceEpoch();
    tm local{};
    ::localtime_r(&seconds, &local);
    return QDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}
} // namespace

QString elapsedText(double seconds)
{
    const qint64 total = wholeSeconds(seconds);
    return QString::asprintf("%02lld:%02lld:%02lld", total / 3600, total % 3600 / 60, total % 60);
}

QString formatDuration(double seconds)
{
    const qint64 total = wholeSeconds(seconds);
    if (total <= 59)
        return QString::number(total) + u's';
    const QString minutes = QString::number(total % 3600 / 60) + u'm';
    return total < 3600 ? minutes : QString::number(total / 3600) + u"h "_s + minutes;
}

QString relativeTime(const QDateTime &date, const QDateTime &now)
{
    constexpr qint64 minute = 60'000;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    const qint64 age = now.toMSecsSinceEpoch() - date.toMSecsSinceEpoch();
    if (age < minute)
        return u"刚刚"_s;
    if (age < hour)
        return QString::number(age / minute) + u"分钟前"_s;
    if (age < day)
        return QString::number(age / hour) + u"小时前"_s;
    const qint64 days = age / day;
    if (days == 1)
        return u"昨天"_s;
    if (days > 29)
        return QLocale().toString(localDate(date), u"MM-dd"_s);
    return QString::number(days) + u"天前"_s;
}

QString defaultTitle(const QDateTime &now)
{
    return u"录音 "_s + QLocale().toString(now.toLocalTime(), u"yyyy-MM-dd HH:mm"_s);
}
