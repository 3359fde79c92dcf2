#include "tests/support/PanelStage.h"
#include "ui/panel/RecentList.h"
#include "ui/panel/RecentRow.h"

#include <QScrollBar>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr int many = 10'000;
constexpr int fewRows = 8;
constexpr int gap = 2; // between two rows

/// Every third one failed, so that heights differ.
QList<RecentSession> manyEntries(int count = many)
{
    QList<RecentSession> entries;
    for (int i = 0; i < count; ++i) {
        const QString title = QString::number(i);
        entries.append(i % 3 == 1 ? PanelStage::failed(title, u"原因 "_s.repeated(i % 40))
                                  : PanelStage::entry(title));
    }
    return entries;
}

class ListStage : public PanelStage
{
public:
    using PanelStage::PanelStage;

    QList<RecentRow *> rows() const { return panel->findChildren<RecentRow *>(); }

    QScrollBar &bar() const { return *find(u"recentList"_s).findChild<QScrollBar *>(); }

    /// "title at y" of what can be seen, from the top.
    QStringList shown() const
    {
        QMap<int, QString> titles;
        const QRect view = find(u"recentList"_s).rect();
        for (const RecentRow *const row : rows()) {
            if (row->isVisible() && view.intersects(row->geometry()))
                titles.insert(row->y(), row->session().title);
        }
        QStringList list;
        for (auto it = titles.cbegin(); it != titles.cend(); ++it)
            list.append(it.value() + u" at "_s + QString::number(it.key()));
        return list;
    }

    RecentRow &row(const QString &title) const
    {
        for (RecentRow *const candidate : rows()) {
            if (candidate->isVisible() && candidate->session().title == title)
                return *candidate;
        }
        qFatal("no row %s", qPrintable(title));
    }

    /// Who has the keyboard: "title", or "title button", or the name of another control.
    QString focus() const
    {
        const QWidget *const widget = panel->focusWidget();
        if (const auto *const own = qobject_cast<const RecentRow *>(widget))
            return own->session().title;
        const auto *const outer = qobject_cast<const RecentRow *>(widget->parentWidget());
        return outer ? outer->session().title + u' ' + widget->objectName() : widget->objectName();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(panel->focusWidget(), key, modifiers);
    }
};
} // namespace

class RecentListTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsExistForWhatIsVisible()
    {
        const ListStage stage(manyEntries());
        const auto &recents = stage.app->recents();
        const int viewHeight = stage.find(u"recentList"_s).height();
        qsizetype seen = 0;
        for (int value = 0;; value += viewHeight) {
            stage.bar().setValue(value);
            const QStringList shown = stage.shown();
            QVERIFY(stage.rows().size() <= fewRows);
            // Each row follows the one above, in the order of the list.
            qsizetype index = shown.first().section(u' ', 0, 0).toLongLong();
            QVERIFY(index <= seen);
            int y = stage.row(shown.first().section(u' ', 0, 0)).y();
            QVERIFY(y <= gap);
            for (const QString &text : shown) {
                const RecentRow &row = stage.row(text.section(u' ', 0, 0));
                QVERIFY(row.session() == recents.at(index));
                QCOMPARE(row.y(), y);
                y += row.height() + gap;
                ++index;
            }
            QVERIFY(y >= viewHeight);
            seen = index;
            if (value >= stage.bar().maximum()) {
                QCOMPARE(y - gap, viewHeight);
                break;
            }
        }
        QCOMPARE(seen, many);
    }

    void keysMoveBetweenRows()
    {
        const ListStage stage(manyEntries(300));
        const int height = stage.find(u"recentList"_s).height();
        const auto isInView = [&] {
            const QRect row = stage.panel->focusWidget()->geometry();
            return row.top() >= 0 && row.bottom() < height;
        };
        stage.row(u"0"_s).setFocus();
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.focus(), u"0"_s);
        for (int i = 1; i <= 30; ++i) {
            stage.press(Qt::Key_Down);
            QCOMPARE(stage.focus(), QString::number(i));
            QVERIFY(isInView());
        }
        stage.press(Qt::Key_PageDown);
        QVERIFY(stage.focus().toInt() > 31 && stage.focus().toInt() < 40);
        stage.press(Qt::Key_PageUp);
        QVERIFY(stage.focus().toInt() <= 31 && stage.focus().toInt() > 25);
        stage.press(Qt::Key_End);
        QCOMPARE(stage.focus(), u"299"_s);
        QVERIFY(isInView());
        stage.press(Qt::Key_PageDown);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.focus(), u"299"_s);

        // Scrolling takes the row out of view: the keyboard goes to the nearest that is there.
        stage.bar().setValue(0);
        const int lowest = stage.focus().toInt();
        QVERIFY(lowest > 0 && lowest < fewRows);
        QVERIFY(isInView());
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.focus(), QString::number(lowest - 1));
        stage.press(Qt::Key_Home);
        QCOMPARE(stage.focus(), u"0"_s);
        QCOMPARE(stage.bar().value(), 0);
        QVERIFY(stage.rows().size() <= fewRows);
    }

    void keyboardOutOfSight()
    {
        ListStage stage(manyEntries(30));
        stage.holdUploads();
        const auto isInOrder = [&] {
            const QStringList shown = stage.shown();
            const int first = shown.first().section(u' ', 0, 0).toInt();
            for (int i = 0; i < shown.size(); ++i) {
                if (!shown.at(i).startsWith(QString::number(first + i) + u' '))
                    return false;
            }
            return shown.size() >= 3;
        };
        // The row goes out of view by half, and its button must not upload it then.
        stage.row(u"3"_s).setFocus();
        stage.press(Qt::Key_Tab);
        QCOMPARE(stage.focus(), u"3 upload"_s);
        stage.bar().setValue(stage.bar().value() + stage.row(u"3"_s).geometry().center().y());
        QCOMPARE(stage.focus(), u"4"_s);
        stage.press(Qt::Key_Return);
        QVERIFY(stage.app->recents().at(3).status == RecentSession::Status::ready);
        QVERIFY(isInOrder());

        // The keyboard follows the click where its own row is far away.
        stage.bar().setValue(stage.bar().maximum());
        QTest::mouseClick(&stage.row(u"28"_s), Qt::LeftButton);
        QCOMPARE(stage.focus(), u"28"_s);
        QVERIFY(isInOrder());
        QVERIFY(stage.rows().size() <= fewRows);
    }

    void buttonsUpload_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("isSignedIn");
        QTest::addColumn<QString>("status");
        QTest::newRow("upload") << u"2"_s << u"upload"_s << true << u"processing"_s;
        QTest::newRow("retry") << u"1"_s << u"retry"_s << true << u"processing"_s;
        // Unlike an upload, a retry is shown before it fails again.
        QTest::newRow("upload, nobody signed in") << u"2"_s << u"upload"_s << false << u"failed"_s;
        QTest::newRow("retry, nobody signed in")
            << u"1"_s << u"retry"_s << false << u"processing"_s;
    }

    void buttonsUpload()
    {
        QFETCH(const QString, title);
        QFETCH(const QString, button);
        QFETCH(const bool, isSignedIn);
        const QList<RecentSession> entries = manyEntries(4);
        ListStage stage(entries, isSignedIn);
        stage.holdUploads();
        const RecentRow &row = stage.row(title);
        QTest::mouseClick(row.findChild<QWidget *>(button), Qt::LeftButton);

        QTEST(rawValue(row.session().status), "status");
        for (qsizetype i = 0; i < entries.size(); ++i) {
            const bool isSame = stage.app->recents().at(i).status == entries.at(i).status;
            QCOMPARE(isSame, entries.at(i).title != title);
        }
        QVERIFY(stage.desktop.workspace.revealed.isEmpty());
    }
};

QTEST_MAIN(RecentListTest)
#include "test_recent_list.moc"
