#include "cloud/Keychain.h"
#include "tests/support/FakeSecretStore.h"

#include <QTest>

using namespace Qt::StringLiterals;

class KeychainTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void secondValueReplacesTheFirst();
    void refusedValueLeavesNone();
    void itemsOfOthersAreLeftAlone();
};

void KeychainTest::secondValueReplacesTheFirst()
{
    FakeSecretStore store;
    Keychain keychain(store);

    keychain.set(u"first"_s, u"session"_s);
    keychain.set(u"第二"_s, u"session"_s);
    keychain.set(u""_s, u"other"_s);

    QCOMPARE(store.own(), QStringList({u"other="_s, u"session=第二"_s}));
    QCOMPARE(keychain.get(u"session"_s), u"第二"_s);
    QCOMPARE(keychain.get(u"other"_s), u""_s);
}

void KeychainTest::refusedValueLeavesNone()
{
    FakeSecretStore store;
    Keychain keychain(store);
    keychain.set(u"old"_s, u"session"_s);
    store.refusesToAdd = true;

    keychain.set(u"new"_s, u"session"_s);

    QCOMPARE(keychain.get(u"session"_s), std::nullopt);
}

void KeychainTest::itemsOfOthersAreLeftAlone()
{
    FakeSecretStore store;
    Keychain keychain(store);
    store.add(u"another.program"_s, u"session"_s, u"theirs"_s);

    QCOMPARE(keychain.get(u"session"_s), std::nullopt);
    keychain.remove(u"session"_s);

    QCOMPARE(store.find(u"another.program"_s, u"session"_s), u"theirs"_s);
}

QTEST_GUILESS_MAIN(KeychainTest)
#include "test_keychain.moc"
