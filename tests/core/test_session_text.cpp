#include "core/RecordingFile.h"
#include "core/SessionText.h"

#include <QLocale>
#include <QTest>
#include <QTimeZone>

#include <time.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

class SessionTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void durations_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("elapsed");
        QTest::addColumn<QString>("duration");
        QTest::addRow("zero") << 0.0 << u"00:00:00"_s << u"0s"_s;
        QTest::addRow("below a second") << 0.999 << u"00:00:00"_s << u"0s"_s;
        QTest::addRow("59.9 s") << 59.9 << u"00:00:59"_s << u"59s"_s;
        QTest::addRow("a minute") << 60.0 << u"00:01:00"_s << u"1m"_s;
        QTest::addRow("75 s") << 75.0 << u"00:01:15"_s << u"1m"_s;
        QTest::addRow("119 s") << 119.0 << u"00:01:59"_s << u"1m"_s;
        QTest::addRow("below an hour") << 3599.0 << u"00:59:59"_s << u"59m"_s;
        QTest::addRow("an hour") << 3600.0 << u"01:00:00"_s << u"1h 0m"_s;
        QTest::addRow("two hours") << 7322.9 << u"02:02:02"_s << u"2h 2m"_s;
        QTest::addRow("a day") << 90'060.0 << u"25:01:00"_s << u"25h 1m"_s;
        QTest::addRow("100 hours") << 360'000.0 << u"100:00:00"_s << u"100h 0m"_s;
        QTest::addRow("not a number") << std::nan("") << u"00:00:00"_s << u"0s"_s;
        QTest::addRow("infinite") << std::numeric_limits<double>::infinity()
                                  << u"2562047788015215:30:07"_s << u"2562047788015215h 30m"_s;
    }

    void durations()
    {
        QFETCH(double, seconds);
        QTEST(elapsedText(seconds), "elapsed");
        QTEST(formatDuration(seconds), "duration");
    }

    void relativeTimes_data()
    {
        QTest::addColumn<qint64>("milliseconds");
        QTest::addColumn<QString>("text");
        constexpr qint64 minute = 60'000;
        constexpr qint64 hour = 60 * minute;
        constexpr qint64 day = 24 * hour;
        QTest::addRow("in an hour") << -hour << u"刚刚"_s;
        QTest::addRow("now") << qint64{0} << u"刚刚"_s;
        QTest::addRow("just below a minute") << minute - 1 << u"刚刚"_s;
        QTest::addRow("a minute") << minute << u"1分钟前"_s;
        QTest::addRow("just below an hour") << hour - 1 << u"59分钟前"_s;
        QTest::addRow("an hour") << hour << u"1小时前"_s;
        QTest::addRow("90 minutes") << 90 * minute << u"1小时前"_s;
        QTest::addRow("just below a day") << day - 1 << u"23小时前"_s;
        QTest::addRow("a day") << day << u"昨天"_s;
        QTest::addRow("47 hours") << 47 * hour << u"昨天"_s;
        QTest::addRow("48 hours") << 48 * hour << u"2天前"_s;
        QTest::addRow("29 days and 23 hours") << 29 * day + 23 * hour << u"29天前"_s;
        QTest::addRow("30 days") << 30 * day << u"02-05"_s;
        QTest::addRow("30 days and 14 hours") << 30 * day + 14 * hour << u"02-05"_s;
        QTest::addRow("30 days and 15 hours") << 30 * day + 15 * hour << u"02-04"_s;
    }

    // The test runs in Shanghai, eight hours ahead of UTC: at 14:05 there, 15 hours ago was the day
    // before, but in UTC only 7 hours ago was.
    void relativeTimes()
    {
        QFETCH(qint64, milliseconds);
        const QDateTime now(QDate(2025, 3, 7), QTime(14, 5));
        const QDateTime then = now.addMSecs(-milliseconds);
        QTEST(relativeTime(then, now), "text");
        QTEST(relativeTime(then.toUTC(), now.toUTC()), "text");
    }

    void theLocalTimeZoneAndDigitsCount()
    {
        const QDateTime now(QDate(2025, 3, 7), QTime(2, 0), QTimeZone::utc());
        const QDateTime then(QDate(2024, 12, 31), QTime(20, 0), QTimeZone::utc());
        QCOMPARE(relativeTime(then, now), u"01-01"_s);
        QCOMPARE(defaultTitle(now), u"录音 2025-03-07 10:00"_s);

        QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
        const QString arabic = relativeTime(then, now);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(arabic, u"٠١-٠١"_s);

        qputenv("TZ", "America/New_York");
        ::tzset();
        const QString there = relativeTime(then, now) + defaultTitle(now);
        qputenv("TZ", "Asia/Shanghai");
        ::tzset();
        QCOMPARE(there, u"12-31录音 2025-03-06 21:00"_s);
    }

    void namesOfRecordings_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("baseName");
        QTest::addColumn<bool>("isAudio");
        for (const char *extension : {"m4a", "mp4", "wav", "aac", "mp3", "ogg", "flac"}) {
            const QString name = u"a."_s + QLatin1StringView(extension);
            QTest::addRow("%s", extension) << name << u"a"_s << true;
            QTest::addRow("upper %s", extension)
                << u"a."_s + name.mid(2).toUpper() << u"a"_s << true;
        }
        QTest::addRow("two dots") << u"a.mic.m4a"_s << u"a.mic"_s << true;
        QTest::addRow("odd letters") << u"rec 1%#?中文.m4a"_s << u"rec 1%#?中文"_s << true;
        QTest::addRow("hidden") << u".a.m4a"_s << u".a"_s << true;
        QTest::addRow("only a hidden name") << u".m4a"_s << u".m4a"_s << false;
        QTest::addRow("no dot") << u"m4a"_s << u"m4a"_s << false;
        QTest::addRow("dot at the end") << u"a."_s << u"a"_s << false;
        QTest::addRow("part of an extension") << u"a.m4"_s << u"a"_s << false;
        QTest::addRow("unfinished") << u"a.m4a.partial"_s << u"a.m4a"_s << false;
    }

    void namesOfRecordings()
    {
        QFETCH(QString, name);
        QFETCH(QString, baseName);
        QTEST(hasAudioExtension(name), "isAudio");
        QCOMPARE(recordingBaseName(name), baseName);
        const auto file = QUrl::fromLocalFile(u"/录 音.x/"_s + name);
        QCOMPARE(clientRecordingId(file), u"mac-file-"_s + baseName);
        QCOMPARE(clientRecordingId(QUrl::fromEncoded(file.toEncoded())), clientRecordingId(file));
    }
};

QTEST_GUILESS_MAIN(SessionTextTest)
#include "test_session_text.moc"
