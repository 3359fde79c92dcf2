#pragma once

#include <QImage>

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
