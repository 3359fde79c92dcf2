#include "tests/support/Picture.h"
#include "ui/parts/MS.h"
#include "ui/parts/ParlovanceScroller.h"
#include "ui/parts/StyledScrollView.h"

#include <QTest>

#include <memory>

namespace
{

const QColor knob = onGround(QColor::fromRgbF(0.91F, 0.627F, 0.29F), 0.55);

/// A bar of 200 whose knob takes a quarter.
std::unique_ptr<ParlovanceScroller> quarterBar()
{
    auto bar = std::make_unique<ParlovanceScroller>();
    bar->setRange(0, 300);
    bar->setPageStep(100);
    bar->resize(11, 200);
    return bar;
}

} // namespace

/// The scroller's parts, for the eye and for the pointer, and the view around it.
class TestScrollView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pointerMovesTheKnobThatIsSeen()
    {
        const auto bar = quarterBar();
        QTest::mousePress(bar.get(), Qt::LeftButton, {}, {5, 47});
        QTest::mouseMove(bar.get(), {5, 122});
        QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, {5, 122});
        QCOMPARE(bar->value(), 150);
        QTest::mouseClick(bar.get(), Qt::LeftButton, {}, {5, 195}); // below: a page on
        QCOMPARE(bar->value(), 250);
        QTest::mouseClick(bar.get(), Qt::LeftButton, {}, {5, 3});
        QCOMPARE(bar->value(), 150);
    }

    void longListKeepsAKnobToHold()
    {
        const auto bar = quarterBar();
        bar->setRange(0, 500'000);
        bar->setValue(500'000);
        const QImage picture = pictureOf(*bar);
        QVERIFY(isAlike(picture.pixelColor(2, 180), knob));
        QVERIFY(isAlike(picture.pixelColor(2, 168), MS::bg2));
    }

    void contentIsAsWideAsTheView_data()
    {
        QTest::addColumn<int>("contentHeight");
        QTest::addColumn<bool>("scrolls");
        QTest::newRow("fits") << 100 << false;
        QTest::newRow("does not fit") << 1000 << true;
    }

    void contentIsAsWideAsTheView()
    {
        QFETCH(const int, contentHeight);
        StyledScrollView view;
        auto *const content = new QWidget;
        content->setMinimumHeight(contentHeight);
        view.setWidget(content);
        view.resize(320, 200);
        view.show();
        QTEST(view.verticalScrollBar()->isVisible(), "scrolls");
        QCOMPARE(view.horizontalScrollBar()->isVisible(), false);
        QCOMPARE(content->width(), 320);
        QVERIFY(isAlike(pictureOf(view).pixelColor(100, 100), MS::bg2)); // no ground of its own
    }
};

QTEST_MAIN(TestScrollView)
#include "test_scroll_view.moc"
