#pragma once

#include <QColor>
#include <QImage>

class QWidget;

/// What a part paints by itself, on a panel's ground.
QImage pictureOf(QWidget &part);

/// What a colour at some opacity becomes on a panel's ground.
QColor onGround(const QColor &color, double opacity = 1);

/// Alike but for rounding.
bool isAlike(const QColor &one, const QColor &other);
