#include "tests/support/PanelStage.h"
#include "ui/panel/RecentRow.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/StatusDot.h"
#include "ui/parts/TextLabel.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
using Status = RecentSession::Status;
using Text = std::optional<QString>;

constexpr int width = 339;

RecentSession session(Status status, const Text &progress, const Text &remoteID)
{
    RecentSession made = PanelStage::entry(u"周会"_s);
    made.status = status;
    made.uploadProgress = progress;
    made.remoteID = remoteID;
    return made;
}

/// As a list shows it.
std::unique_ptr<RecentRow> shownRow(const RecentSession &session)
{
    auto row = std::make_unique<RecentRow>();
    row->setSession(session);
    row->resize(width, RecentRow::heightFor(session, width));
    row->setTabStop(true);
    row->show();
    row->activateWindow();
    return QTest::qWaitForWindowActive(row.get()) ? std::move(row) : nullptr;
}

/// The names of the controls that can be seen.
QStringList shownControls(const RecentRow &row)
{
    QStringList names;
    for (const QString &name : {u"progress"_s, u"upload"_s, u"retry"_s}) {
        if (row.findChild<QWidget *>(name)->isVisible())
            names.append(name);
    }
    return names;
}
} // namespace

class RecentRowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void kinds_data()
    {
        QTest::addColumn<Status>("status");
        QTest::addColumn<Text>("progress");
        QTest::addColumn<Text>("remoteID");
        QTest::addColumn<QString>("subtitle");
        QTest::addColumn<QStringList>("controls");
        QTest::addColumn<QString>("progressText");
        QTest::addColumn<QColor>("dot");
        const Text none;
        const Text meeting(u"m1"_s);
        const QStringList progress{u"progress"_s};
        QTest::newRow("waiting") << Status::ready << none << none << u"1m · 待上传 · 刚刚"_s
                                 << QStringList(u"upload"_s) << QString() << MS::faint;
        QTest::newRow("uploading") << Status::processing << Text(u"上传中"_s) << none
                                   << u"1m · 刚刚"_s << progress << u"上传中"_s << MS::amber;
        QTest::newRow("uploading, nothing known")
            << Status::processing << none << none << u"1m · 刚刚"_s << progress << u"处理中"_s
            << MS::amber;
        QTest::newRow("uploaded") << Status::ready << none << meeting << u"1m · 刚刚"_s
                                  << QStringList() << QString() << MS::moss;
        QTest::newRow("uploading again") << Status::processing << none << meeting << u"1m · 刚刚"_s
                                         << progress << u"处理中"_s << MS::amber;
        QTest::newRow("failed") << Status::failed << Text(u"未登录"_s) << none << u"未登录 · 刚刚"_s
                                << QStringList(u"retry"_s) << QString() << MS::ember;
        QTest::newRow("failed, no reason") << Status::failed << none << none << u"上传失败 · 刚刚"_s
                                           << QStringList(u"retry"_s) << QString() << MS::ember;
        QTest::newRow("failed after an upload")
            << Status::failed << Text(u"<b>\u202e&"_s) << meeting << u"<b>& · 刚刚"_s
            << QStringList(u"retry"_s) << QString() << MS::ember;
    }

    void kinds()
    {
        QFETCH(const Status, status);
        QFETCH(const Text, progress);
        QFETCH(const Text, remoteID);
        QFETCH(const QColor, dot);
        const auto row = shownRow(session(status, progress, remoteID));
        QVERIFY(row);
        const bool isFailed = status == Status::failed;
        const bool isProcessing = status == Status::processing;

        const auto &title = *row->findChild<TextLabel *>(u"title"_s);
        QCOMPARE(title.text(), u"周会"_s);
        QCOMPARE(title.color(), isFailed ? MS::textDim : MS::text);
        const auto &subtitle = *row->findChild<TextLabel *>(u"subtitle"_s);
        QTEST(subtitle.text(), "subtitle");
        QCOMPARE(subtitle.color(), isFailed ? MS::ember : MS::faint);
        QVERIFY(!subtitle.isCut());
        QTEST(shownControls(*row), "controls");
        if (isProcessing)
            QTEST(row->findChild<TextLabel *>(u"progress"_s)->text(), "progressText");
        const auto &statusDot = *row->findChild<StatusDot *>(u"dot"_s);
        QCOMPARE(statusDot.color(), dot);
        QCOMPARE(statusDot.glow(), isProcessing ? dot : QColor(Qt::transparent));
    }

    void pressing_data()
    {
        QTest::addColumn<QString>("target"); // the row itself where empty
        QTest::addColumn<int>("key");        // 0 for a click
        QTest::addColumn<QString>("outcome");
        QTest::newRow("row") << QString() << 0 << u"clicked"_s;
        QTest::newRow("title") << u"title"_s << 0 << u"clicked"_s;
        QTest::newRow("dot") << u"dot"_s << 0 << u"clicked"_s;
        QTest::newRow("row, space") << QString() << int(Qt::Key_Space) << u"clicked"_s;
        QTest::newRow("row, return") << QString() << int(Qt::Key_Return) << u"clicked"_s;
        QTest::newRow("button") << u"retry"_s << 0 << u"retry"_s;
        QTest::newRow("button, space") << u"retry"_s << int(Qt::Key_Space) << u"retry"_s;
        QTest::newRow("button, enter") << u"retry"_s << int(Qt::Key_Enter) << u"retry"_s;
    }

    void pressing()
    {
        QFETCH(const QString, target);
        QFETCH(const int, key);
        const auto row = shownRow(session(Status::failed, {}, {}));
        QVERIFY(row);
        QStringList outcome;
        connect(row.get(), &RecentRow::clicked, this, [&] { outcome.append(u"clicked"_s); });
        connect(row.get(), &RecentRow::uploadRequested, this, [&] { outcome.append(u"upload"_s); });
        connect(row.get(), &RecentRow::retryRequested, this, [&] { outcome.append(u"retry"_s); });
        QWidget *const widget = target.isEmpty() ? row.get() : row->findChild<QWidget *>(target);

        if (key != 0) {
            widget->setFocus();
            QTest::keyClick(row->window()->focusWidget(), Qt::Key(key));
        } else {
            // Through the window, which decides who takes it.
            QTest::mouseClick(row->windowHandle(), Qt::LeftButton, {},
                              widget->mapTo(row.get(), widget->rect().center()));
        }
        QTEST(outcome.join(u' '), "outcome");
    }

    void longReason()
    {
        const QString reason = u"服务器没有响应 (no answer from the server)。"_s.repeated(12);
        const auto failed = session(Status::failed, reason, {});
        const auto row = shownRow(failed);
        QVERIFY(row);
        const auto &subtitle = *row->findChild<TextLabel *>(u"subtitle"_s);
        const int line = QFontMetrics(subtitle.font()).height();
        QCOMPARE(subtitle.height(), 3 * line);
        QVERIFY(subtitle.isCut());
        QVERIFY(!row->findChild<QWidget *>(u"retry"_s)->geometry().intersects(subtitle.geometry()));

        const int one = RecentRow::heightFor(session(Status::failed, u"短"_s, {}), width);
        QCOMPARE(row->height(), one + (2 * line));
        const auto broken = session(Status::failed, u"第一行\n\n第二行"_s, {});
        QCOMPARE(RecentRow::heightFor(broken, width), one);
        // Words without a space are broken too.
        const QString word = u"x"_s.repeated(300);
        QCOMPARE(RecentRow::heightFor(session(Status::failed, word, {}), width), row->height());
        QCOMPARE(RecentRow::heightFor(session(Status::ready, word, {}), width), one);
    }
};

QTEST_MAIN(RecentRowTest)
#include "test_recent_row.moc"
