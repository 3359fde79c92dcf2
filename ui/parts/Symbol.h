#pragma once

#include <QIcon>
#include <QStringView>

class QColor;
class QPainter;
class QRectF;

/// The drawing \p name of the program's own set, for example "waveform", in one colour and in the
/// sizes that trays and menus ask for. Empty for an unknown name. Main thread.
QIcon symbol(QStringView name, const QColor &color);

/// The program's own icon, in its colours. Main thread.
QIcon applicationIcon();

/// The side, in pixels at scale 1, of the square that a drawing fills beside text of \p points.
int symbolSide(double points);

/// Paints the drawing centred in \p where and as large as fits, on whole pixels of the device. A
/// name that is unknown paints nothing. Main thread.
void paintSymbol(QPainter &painter, const QRectF &where, QStringView name, const QColor &color);
