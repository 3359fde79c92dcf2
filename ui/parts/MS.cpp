#include "ui/parts/MS.h"

#include <QStringList>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

// The toolkit draws fonts with cubic outlines bolder on a dark ground than on a light one, which
// the larger Chinese fonts have and the Latin ones have not. This one has quadratic outlines, so
// that a line of both is even; it has no bold.
const auto chinese = u"WenQuanYi Micro Hei"_s;
const auto otherChinese = u"Noto Sans CJK SC"_s;

QFont font(const QStringList &families, QFont::StyleHint kind, double points, QFont::Weight weight)
{
    QFont made;
    made.setStyleHint(kind);
    made.setFamilies(families);
    made.setPixelSize(static_cast<int>(std::lround(points)));
    made.setWeight(weight);
    return made;
}

} // namespace

QColor MS::faded(const QColor &color, double opacity)
{
    QColor result = color;
    result.setAlphaF(color.alphaF() * static_cast<float>(opacity));
    return result;
}

// Each first family and weight has one list: two fonts that differ only in what follows share a
// cached fallback. Without a Chinese family by name the glyphs may be Japanese.
QFont MS::system(double points, QFont::Weight weight)
{
    const bool isBold = weight >= QFont::DemiBold;
    return font({u"Noto Sans"_s, isBold ? otherChinese : chinese, isBold ? chinese : otherChinese},
                QFont::SansSerif, points, weight);
}

QFont MS::monospaced(double points, QFont::Weight weight)
{
    return font({u"Noto Sans Mono"_s, u"DejaVu Sans Mono"_s, chinese, otherChinese},
                QFont::Monospace, points, weight);
}

QFont MS::serif(double points)
{
    return font(
        {u"Noto Serif"_s, u"PT Serif"_s, u"Charis SIL"_s, u"DejaVu Serif"_s, chinese, otherChinese},
        QFont::Serif, points, QFont::Normal);
}

QFont MS::italicSerif(double points)
{
    QFont made = serif(points);
    made.setItalic(true);
    return made;
}

const QFont &MS::sectionLabelFont()
{
    static const QFont shared = [] {
        QFont made = monospaced(9.5, QFont::Medium);
        made.setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
        return made;
    }();
    return shared;
}

const QFont &MS::timerFont()
{
    static const QFont shared = italicSerif(28);
    return shared;
}

const QFont &MS::serifItalic()
{
    static const QFont shared = italicSerif(14);
    return shared;
}

const QFont &MS::serifItalicBig()
{
    static const QFont shared = italicSerif(16);
    return shared;
}
