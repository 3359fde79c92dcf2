#include "ui/windows/AlertBox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCoroTask>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

/// What the user answers to an alert.
class TestAlertBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsTheAnswer_data()
    {
        QTest::addColumn<QString>("button"); // empty: the window is closed
        QTest::addColumn<int>("answer");
        QTest::newRow("first") << u"前往下载"_s << 0;
        QTest::newRow("second") << u"稍后"_s << 1;
        QTest::newRow("closed") << QString() << -1;
    }

    void tellsTheAnswer()
    {
        QFETCH(const QString, button);
        AlertBox alert;
        QString shown;
        Qt::WindowModality modality{};
        bool isPlain = true;
        QTimer::singleShot(0, this, [&] {
            auto *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                qFatal("no alert is shown");
            modality = box->windowModality();
            for (const QLabel *const label : box->findChildren<QLabel *>())
                isPlain = isPlain && label->textFormat() == Qt::PlainText;
            shown =
                box->text() + u'|' + box->informativeText() + u'|' + box->defaultButton()->text();
            const auto buttons = box->buttons();
            const auto found = std::ranges::find(buttons, button, &QAbstractButton::text);
            if (found == buttons.cend())
                box->close();
            else
                QTest::mouseClick(*found, Qt::LeftButton);
        });
        QTEST(QCoro::waitFor(alert.present(u"<b>2.0</b> 可用"_s, u"<i>文字</i>"_s,
                                           {u"前往下载"_s, u"稍后"_s})),
              "answer");
        QCOMPARE(shown, u"<b>2.0</b> 可用|<i>文字</i>|前往下载"_s);
        QVERIFY(isPlain);
        QCOMPARE(modality, Qt::ApplicationModal);
    }
};

QTEST_MAIN(TestAlertBox)
#include "test_alert_box.moc"
