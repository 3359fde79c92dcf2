#pragma once

#include <QColor>
#include <QWidget>

class Timeline;

/// The level of one source as a small row of bars: they jump with the level while the source is
/// recorded, and breathe low and faint otherwise. 40 x 14. Main thread.
class LevelMeter : public QWidget
{
    Q_OBJECT

public:
    explicit LevelMeter(int bars, QWidget *parent = nullptr);

    /// 0 to 1; of no effect while not active. Seen at the next repaint of its own.
    void setLevel(double level);
    void setActive(bool isActive);

    /// The colour behind the bars: what moves paints it itself, so that nothing else is painted.
    void setGround(const QColor &ground);

    /// How much of the height bar \p i, counted from 0, takes at \p seconds since 1970: 0 to 1.
    double fill(int i, double seconds) const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int m_bars;
    Timeline *m_timeline;
    double m_level = 0;
    bool m_isActive = false;
    QColor m_ground;
};
