#include "cloud/CallbackUrl.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QString shown(const std::optional<QString> &text)
{
    return text ? u'\'' + *text + u'\'' : u"none"_s;
}

/// "scheme host token state", each 'quoted' or none.
QString parts(const QString &address)
{
    const CallbackUrl url(address);
    const QStringList list{shown(url.scheme()), shown(url.host()), shown(url.value(u"token")),
                           shown(url.value(u"state"))};
    return list.join(u' ');
}

const auto nothing = u"none none none none"_s;
const auto noItems = u"'parlovance' 'auth' none none"_s;
const auto plain = u"'parlovance' 'auth' 't' 's'"_s;
} // namespace

class CallbackUrlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsed_data();
    void parsed();

private:
    void spellingRows();
    void authorityRows();
    void queryRows();
    void escapeRows();
};

void CallbackUrlTest::parsed_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("expected");
    spellingRows();
    authorityRows();
    queryRows();
    escapeRows();
}

void CallbackUrlTest::spellingRows()
{
    QTest::newRow("plain") << u"parlovance://auth?token=t&state=s"_s << plain;
    QTest::newRow("with a path") << u"parlovance://auth/a/b?token=t&state=s"_s << plain;
    QTest::newRow("case is kept") << u"PARLOVANCE://Auth?token=t&state=s"_s
                                  << u"'PARLOVANCE' 'Auth' 't' 's'"_s;
    QTest::newRow("empty") << u""_s << nothing;
    QTest::newRow("no scheme") << u"//auth?token=t"_s << nothing;
    QTest::newRow("empty scheme") << u"://auth?token=t"_s << nothing;
    QTest::newRow("scheme begins with a digit") << u"1p://auth?token=t"_s << nothing;
    QTest::newRow("query before the colon") << u"auth?token=a:b"_s << nothing;
    QTest::newRow("no slashes") << u"parlovance:auth?token=t&state=s"_s
                                << u"'parlovance' none 't' 's'"_s;
    QTest::newRow("space in front") << u" parlovance://auth?token=t"_s << nothing;
    QTest::newRow("newline at the end") << u"parlovance://auth?token=t\n"_s << nothing;
    QTest::newRow("NUL in the query") << u"parlovance://auth?token=t\0&state=s"_s << nothing;
    QTest::newRow("half a surrogate pair")
        << u"parlovance://auth?token="_s + QChar(0xd800) << nothing;
}

void CallbackUrlTest::authorityRows()
{
    const auto noHost = u"'parlovance' none 't' none"_s;
    QTest::newRow("user information and port")
        << u"parlovance://user:pw@auth:443?token=t&state=s"_s << plain;
    QTest::newRow("port is no number") << u"parlovance://auth:x?token=t"_s << noHost;
    QTest::newRow("empty host") << u"parlovance://?token=t"_s << noHost;
    QTest::newRow("escape in the host") << u"parlovance://%61uth?token=t"_s << noHost;
    QTest::newRow("dot behind the host")
        << u"parlovance://auth.?token=t"_s << u"'parlovance' 'auth.' 't' none"_s;
    QTest::newRow("host outside ASCII") << u"parlovance://аuth?token=t"_s << noHost;
    QTest::newRow("bracketed host") << u"parlovance://[::1]?token=t"_s << noHost;
    QTest::newRow("a query that lacks its question mark stays out of the host")
        << u"parlovance://auth&token=t"_s << u"'parlovance' none none none"_s;
    QTest::newRow("backslash") << uR"(parlovance://auth\@x?token=t)"_s
                               << u"'parlovance' 'x' 't' none"_s;
}

void CallbackUrlTest::queryRows()
{
    QTest::newRow("no query") << u"parlovance://auth"_s << noItems;
    QTest::newRow("empty query") << u"parlovance://auth?"_s << noItems;
    QTest::newRow("only in the fragment") << u"parlovance://auth#?token=t&state=s"_s << noItems;
    QTest::newRow("fragment is cut") << u"parlovance://auth?token=t&state=s#&x"_s << plain;
    QTest::newRow("second question mark")
        << u"parlovance://auth?token=t?&state=s"_s << u"'parlovance' 'auth' 't?' 's'"_s;
    QTest::newRow("empty value") << u"parlovance://auth?token=&state=s"_s
                                 << u"'parlovance' 'auth' '' 's'"_s;
    QTest::newRow("no equals sign")
        << u"parlovance://auth?token&state=s"_s << u"'parlovance' 'auth' none 's'"_s;
    QTest::newRow("the first one counts")
        << u"parlovance://auth?token=t&state=s&token=u&state=v"_s << plain;
    QTest::newRow("the first one counts without a value too")
        << u"parlovance://auth?token&token=u&state=s"_s << u"'parlovance' 'auth' none 's'"_s;
    QTest::newRow("names differ by case") << u"parlovance://auth?Token=t&STATE=s"_s << noItems;
}

void CallbackUrlTest::escapeRows()
{
    const auto tokenNone = u"'parlovance' 'auth' none 's'"_s;
    QTest::newRow("plus stays plus") << u"parlovance://auth?token=a+b%2Bc%20d&state=s"_s
                                     << u"'parlovance' 'auth' 'a+b+c d' 's'"_s;
    QTest::newRow("decoded once") << u"parlovance://auth?token=%2541&state=s"_s
                                  << u"'parlovance' 'auth' '%41' 's'"_s;
    QTest::newRow("both cases of digits")
        << u"parlovance://auth?token=%e4%B8%ad&state=s"_s << u"'parlovance' 'auth' '中' 's'"_s;
    QTest::newRow("not escaped at all")
        << u"parlovance://auth?token=中 文&state=s"_s << u"'parlovance' 'auth' '中 文' 's'"_s;
    QTest::newRow("escaped separators") << u"parlovance://auth?token=%26state%3Dx%23&state=s"_s
                                        << u"'parlovance' 'auth' '&state=x#' 's'"_s;
    QTest::newRow("escaped name") << u"parlovance://auth?tok%65n=t&state=s"_s << plain;
    QTest::newRow("bad digits") << u"parlovance://auth?token=%zz&state=s"_s << tokenNone;
    QTest::newRow("percent sign at the end")
        << u"parlovance://auth?state=s&token=100%"_s << tokenNone;
    QTest::newRow("bad escape elsewhere")
        << u"parlovance://auth?x=%&%=y&token=%74&state=s"_s << plain;
    QTest::newRow("not UTF-8") << u"parlovance://auth?token=%ff&state=s"_s << tokenNone;
    QTest::newRow("UTF-8 of a surrogate")
        << u"parlovance://auth?token=%ed%a0%80&state=s"_s << tokenNone;
    QTest::newRow("overlong UTF-8") << u"parlovance://auth?token=%c0%80&state=s"_s << tokenNone;
    QTest::newRow("byte order mark is kept") << u"parlovance://auth?token=%ef%bb%bft&state=s"_s
                                             << u"'parlovance' 'auth' '\ufefft' 's'"_s;
    QTest::newRow("control character")
        << u"parlovance://auth?token=t%0A&state=s"_s << u"'parlovance' 'auth' 't\n' 's'"_s;
}

void CallbackUrlTest::parsed()
{
    QFETCH(const QString, address);

    QTEST(parts(address), "expected");
}

QTEST_GUILESS_MAIN(CallbackUrlTest)
#include "test_callback_url.moc"
