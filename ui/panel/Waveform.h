#pragma once

#include <QColor>
#include <QWidget>

class Timeline;

/// A row of rounded bars that swings like a sound: fast and as high as the level while live, slowly
/// otherwise. As wide as it is given room, on the ground of the panel. Main thread.
class Waveform : public QWidget
{
    Q_OBJECT

public:
    /// \p seed shifts the pattern.
    explicit Waveform(int bars, double seed, QWidget *parent = nullptr);

    void setLive(bool isLive);
    void setColors(const QColor &bar, const QColor &played);

    /// The share of the bars, from the left, that have the colour of what was played: 0 to 1.
    void setPlayed(double played);

    /// 0 to 1, the height of the bars while live. Seen at the next repaint of its own.
    void setLevel(double level);

    /// The height of bar \p i, counted from 0, as a share of what is available, at a \p phase in
    /// radians. At least 0.1, while live 0.006.
    double amplitude(int i, double phase) const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor colorOf(int i) const;

    int m_bars;
    double m_seed;
    Timeline *m_timeline;
    bool m_isLive = false;
    QColor m_barColor;
    QColor m_playedColor;
    double m_played = 0;
    double m_level = 0;
};
