#pragma once

#include "ui/parts/DrawnButton.h"

#include <QImage>
#include <QPixmap>

/// Two rings, a second apart, that spread behind the record button and fade. Without state: they
/// follow from the time.
class RecordButtonRipple
{
public:
    struct Ring {
        double scale;   ///< of a circle 64 wide with a line of 2: 1 to 1.55
        double opacity; ///< 0.55 to 0
    };

    /// Ring \p k, 0 or 1, at \p seconds since 1970.
    static Ring ring(int k, double seconds);

    /// Both rings around the middle of a square of \p side points, with \p pixelRatio pixels each.
    static QImage picture(int side, double pixelRatio, const QColor &color, double seconds);
};

class Timeline;

/// The large round button that starts and stops a recording, 100 x 100 with the rings that spread
/// around it. Can be pressed while idle and live; its accessible name says what a press does. Main
/// thread.
class RecordButton : public DrawnButton
{
    Q_OBJECT

public:
    enum class Look { disabled, idle, live, stopping };

    explicit RecordButton(QWidget *parent = nullptr);

    void setLook(Look look);

    QSize sizeHint() const override;

protected:
    bool event(QEvent *event) override;
    bool hitButton(const QPoint &position) const override;
    void showEvent(QShowEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    /// The parts of the button that stand still are kept as a picture: they are the costliest to
    /// draw.
    struct Face {
        Look look = Look::disabled;
        bool isDown = false;
        bool isHovered = false;
        bool hasFocus = false;
        double pixelRatio = 0;

        bool operator==(const Face &) const = default;
    };

    static QPixmap draw(const Face &face);

    Look m_look = Look::disabled;
    bool m_isHovered = false; // within the circle
    Timeline *m_timeline;
    Face m_face; ///< as in the picture
    QPixmap m_picture;
};
