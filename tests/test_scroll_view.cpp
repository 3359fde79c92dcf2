#include "tests/support/Picture.h"
#include "ui/MS.h"
#include "ui/ParlovanceScroller.h"
#include "ui/StyledScrollView.h"

#include <QEnterEvent>
#include <QTest>

#include <memory>

namespace
{

const QColor knob = onGround(QColor::fromRgbF(0.91F, 0.627F, 0.29F), 0.55);
const QColor brightKnob = onGround(QColor::fromRgbF(0.91F, 0.627F, 0.29F), 0.9);
const QColor slot = onGround(Qt::white, 0.05);

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
    void knobIsWhereTheContentIs_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("top"); // first and last line of the knob, which is inset by 2
        QTest::addColumn<int>("bottom");
        QTest::newRow("start") << 0 << 2 << 47;
        QTest::newRow("middle") << 150 << 77 << 122;
        QTest::newRow("end") << 300 << 152 << 197;
    }

    void knobIsWhereTheContentIs()
    {
        QFETCH(const int, value);
        QFETCH(const int, top);
        QFETCH(const int, bottom);
        const auto bar = quarterBar();
        bar->setValue(value);
        const QImage picture = pictureOf(*bar);
        for (int y = 10; y < 190; ++y) { // clear of the rounded ends of the slot
            const bool isKnob = y >= top && y <= bottom;
            const QColor over = picture.pixelColor(2, y); // the slot is narrower than the knob
            const QColor middle = picture.pixelColor(5, y);
            if (isKnob && y > top + 4 && y < bottom - 4) {
                QVERIFY2(isAlike(over, knob), QByteArray::number(y));
            } else if (!isKnob) {
                QVERIFY2(isAlike(over, MS::bg2), QByteArray::number(y));
                QVERIFY2(isAlike(middle, slot), QByteArray::number(y));
            }
        }
        QVERIFY(isAlike(picture.pixelColor(1, top + 20), MS::bg2));
    }

    void brightensUnderThePointer()
    {
        const auto bar = quarterBar();
        const QPoint onKnob(2, 20);
        QEnterEvent enter({5, 150}, {5, 150}, {5, 150});
        QCoreApplication::sendEvent(bar.get(), &enter);
        QVERIFY(isAlike(pictureOf(*bar).pixelColor(onKnob), brightKnob));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(bar.get(), &leave);
        QVERIFY(isAlike(pictureOf(*bar).pixelColor(onKnob), knob));
    }

    void drawsNothingOnePixelWide_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("one wide") << QSize(1, 200);
        QTest::newRow("one high") << QSize(11, 1);
        QTest::newRow("too narrow for the insets") << QSize(4, 200);
    }

    void drawsNothingOnePixelWide()
    {
        QFETCH(const QSize, size);
        const auto bar = quarterBar();
        bar->resize(size);
        QImage blank(size, QImage::Format_RGB32);
        blank.fill(MS::bg2);
        QCOMPARE(pictureOf(*bar), blank);
    }

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
