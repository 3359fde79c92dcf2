#pragma once

#include <QIcon>
#include <QStringView>

class QColor;

/// The drawing \p name of the program's own set, for example "waveform", in one colour and in the
/// sizes that trays and menus ask for. Empty for an unknown name. Main thread.
QIcon symbol(QStringView name, const QColor &color);
