#pragma once

#include <QColor>
#include <QWidget>

/// A circle with a glow around it. The widget is larger than the circle by StatusDot::glowRadius on
/// every side. Main thread.
class StatusDot : public QWidget
{
    Q_OBJECT

public:
    static constexpr int glowRadius = 3; ///< points

    /// \p side is the circle's, in points.
    explicit StatusDot(int side, QWidget *parent = nullptr);

    const QColor &color() const { return m_color; }
    const QColor &glow() const { return m_glow; }
    void setColors(const QColor &dot, const QColor &glow);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_color;
    QColor m_glow;
};
