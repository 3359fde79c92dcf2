#include "tests/support/Picture.h"
#include "ui/panel/RecordButton.h"

#include <QAccessible>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using Look = RecordButton::Look;

Q_DECLARE_METATYPE(Look)

namespace
{

QString spokenName(RecordButton &button)
{
    return QAccessible::queryAccessibleInterface(&button)->text(QAccessible::Name);
}

} // namespace

/// Who can press the record button how.
class TestRecordButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pressing_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<bool>("canBePressed");
        QTest::addColumn<QString>("name");
        QTest::newRow("disabled") << Look::disabled << false << u"开始录音"_s;
        QTest::newRow("idle") << Look::idle << true << u"开始录音"_s;
        QTest::newRow("live") << Look::live << true << u"停止录音"_s;
        QTest::newRow("stopping") << Look::stopping << false << u"停止中…"_s;
    }

    void pressing()
    {
        QFETCH(const Look, look);
        QFETCH(const bool, canBePressed);
        RecordButton button;
        button.setLook(look);
        button.show();
        QSignalSpy pressed(&button, &QAbstractButton::clicked);
        QTEST(spokenName(button), "name");
        QTest::mouseClick(&button, Qt::LeftButton, {}, {50, 8}); // on the ripple
        QCOMPARE(pressed.count(), 0);
        QTest::mouseClick(&button, Qt::LeftButton, {}, {50, 20});
        QCOMPARE(pressed.count(), canBePressed ? 1 : 0);
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
            QTest::keyClick(&button, key);
        QCOMPARE(pressed.count(), canBePressed ? 4 : 0);
    }

    void clickLeavesTheFocusWhereItIs()
    {
        QWidget panel;
        QLineEdit title(&panel);
        RecordButton button(&panel);
        button.setLook(Look::idle);
        panel.show();
        panel.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        title.setFocus();
        QTest::mouseClick(&button, Qt::LeftButton);
        QVERIFY(title.hasFocus());
        const QImage before = pictureOf(button);
        QTest::keyClick(&title, Qt::Key_Tab);
        QVERIFY(button.hasFocus());
        QVERIFY(pictureOf(button) != before);
    }
};

QTEST_MAIN(TestRecordButton)
#include "test_record_button.moc"
