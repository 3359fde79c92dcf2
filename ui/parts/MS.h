#pragma once

#include <QColor>
#include <QFont>

/// The look of every panel and window: a dark, warm palette and its fonts. A point of the design is
/// a pixel at scale 1. Main thread.
namespace MS
{

inline const QColor bg{26, 20, 17};     ///< fields and rows
inline const QColor bg2{36, 26, 21};    ///< panels and windows
inline const QColor raised{44, 33, 27}; ///< raised buttons, key caps
inline const QColor hover{62, 47, 39};  ///< disabled fills, the track of a switch that is off
inline const QColor border = QColor::fromRgbF(1.0F, 0.863F, 0.706F, 0.08F);
inline const QColor borderAmber = QColor::fromRgbF(0.91F, 0.63F, 0.29F, 0.35F);
inline const QColor text{242, 231, 213};
inline const QColor amber{232, 160, 74}; ///< accent
inline const QColor amberDim = QColor::fromRgbF(0.91F, 0.63F, 0.29F, 0.16F);
inline const QColor ember{196, 90, 58}; ///< recording, errors
inline const QColor emberDim = QColor::fromRgbF(0.77F, 0.35F, 0.23F, 0.16F);
inline const QColor moss{124, 168, 137};    ///< success
inline const QColor inkOnAmber{26, 15, 11}; ///< text on amber

/// \p color at \p opacity times its own.
QColor faded(const QColor &color, double opacity);

inline const QColor textDim = faded(text, 0.78);
inline const QColor muted = faded(text, 0.55);
inline const QColor faint = faded(text, 0.32);
inline const QColor ghost = faded(text, 0.18);

/// The interface's own font, and the same with letters of equal width. Sizes of half a point become
/// the next whole one: the toolkit knows whole pixels only. There are two weights, as the Chinese
/// font has; the medium one is drawn like the regular.
QFont system(double points, QFont::Weight weight = QFont::Normal);
QFont monospaced(double points, QFont::Weight weight = QFont::Normal);

/// For display: a serif. Its digits are equally wide.
QFont serif(double points);
QFont italicSerif(double points);

const QFont &sectionLabelFont();
const QFont &timerFont();
const QFont &serifItalic();
const QFont &serifItalicBig();

} // namespace MS
