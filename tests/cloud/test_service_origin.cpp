#include "cloud/ServiceOrigin.h"

#include <QTest>

using namespace Qt::StringLiterals;

class ServiceOriginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void origin_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // empty: refused

        QTest::newRow("https") << u"https://s.example"_s << u"https://s.example"_s;
        QTest::newRow("port") << u"https://s.example:8443"_s << u"https://s.example:8443"_s;
        QTest::newRow("slash") << u"https://s.example/"_s << u"https://s.example"_s;
        QTest::newRow("this machine") << u"http://127.0.0.1:9"_s << u"http://127.0.0.1:9"_s;
        QTest::newRow("this machine, v6") << u"http://[::1]:9"_s << u"http://[::1]:9"_s;
        QTest::newRow("localhost") << u"http://localhost:9/"_s << u"http://localhost:9"_s;
        const QStringList refused{u""_s,
                                  u"s.example"_s,
                                  u"https://"_s,
                                  u"http://s.example"_s,
                                  u"http://localhost.s.example"_s,
                                  u"https://s.example/a"_s,
                                  u"https://s.example//"_s,
                                  u"https://s.example?a"_s,
                                  u"https://s.example#a"_s,
                                  u"https://u:p@s.example"_s,
                                  u"https://s.example\n"_s,
                                  uR"(https://a\@s.example)"_s,
                                  u"https://服务.example"_s};
        for (const QString &text : refused)
            QTest::addRow("refused: %s", qPrintable(text)) << text << QString();
    }

    void origin()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, expected);

        const auto origin = ServiceOrigin::parse(text);

        QCOMPARE(origin ? origin->text() : QString(), expected);
        if (!origin)
            QVERIFY(origin.error().description().startsWith(u"服务地址配置有误："));
    }

    void allowedAddresses_data()
    {
        QTest::addColumn<QString>("origin");
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("isAllowed");

        const auto far = u"https://s.example"_s;
        const auto near = u"http://127.0.0.1:8080"_s;
        QTest::newRow("https") << far << u"https://o.example/b/k?Signature=a%2Fb%3D&x"_s << true;
        QTest::newRow("http") << far << u"http://o.example/k"_s << false;
        QTest::newRow("http to this machine") << far << u"http://127.0.0.1/k"_s << false;
        QTest::newRow("https to this machine") << far << u"https://localhost/k"_s << false;
        QTest::newRow("https beside the origin") << near << u"https://localhost/k"_s << true;
        QTest::newRow("http beside the origin") << near << u"http://localhost:9/k"_s << true;
        QTest::newRow("http away from the origin") << near << u"http://o.example/k"_s << false;
        QTest::newRow("line break") << far << u"https://o.example/k\r\nX: y"_s << false;
    }

    void allowedAddresses()
    {
        QFETCH(const QString, origin);
        QFETCH(const QString, address);

        QTEST(ServiceOrigin::parse(origin)->allows(address), "isAllowed");
    }
};

QTEST_GUILESS_MAIN(ServiceOriginTest)
#include "test_service_origin.moc"
