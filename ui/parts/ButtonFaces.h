#pragma once

#include "ui/parts/PlainButton.h"

/// The two looks that most buttons in windows have, with a text of \p points.

/// Leads on: dark on amber.
ButtonFace amberFace(double points, const QMargins &padding);

/// Stands back: \p textColor on a raised ground with an outline.
ButtonFace raisedFace(double points, const QColor &textColor, const QMargins &padding);
