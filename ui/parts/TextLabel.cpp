#include "ui/parts/TextLabel.h"

#include "ui/parts/MS.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
/// The text with single spaces, and with its own line breaks where it has some.
QString paragraphs(const QString &text)
{
    QStringList list;
    for (const QString &line : text.split(u'\n')) {
        if (const QString words = line.simplified(); !words.isEmpty())
            list.append(words);
    }
    return list.join(QChar::LineSeparator);
}

/// At most \p maximum lines; the last one holds all that is left, however long.
QStringList wrapped(const QFont &font, const QString &text, int width, int maximum)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    while (lines.size() < maximum) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        const bool isLast = lines.size() == maximum - 1;
        lines.append(text.mid(line.textStart(), isLast ? -1 : line.textLength()).simplified());
    }
    layout.endLayout();
    return lines;
}

QString withoutSpaces(const QString &text)
{
    return text.simplified().remove(u' ');
}

/// A page of an error would take long to lay out, and nobody sees it.
QString start(const QString &text)
{
    constexpr qsizetype longest = 2000;
    return text.left(longest);
}
} // namespace

TextLabel::TextLabel(const QString &text, const QFont &font, const QColor &color, QWidget *parent)
    : QLabel(parent)
    , m_color(color)
{
    setTextFormat(Qt::PlainText);
    setFont(font);
    setText(text);
}

void TextLabel::setColor(const QColor &color)
{
    m_color = color;
    update();
}

void TextLabel::setMaximumLines(int lines)
{
    m_maximumLines = lines;
    setWordWrap(lines > 1); // asks the layouts for heightForWidth()
}

void TextLabel::setElideMode(Qt::TextElideMode mode)
{
    m_elideMode = mode;
    update();
}

int TextLabel::lineCount(const QFont &font, const QString &text, int width, int maximum)
{
    // Hardly any character is wider than its font is high, so that most texts need no layout.
    if (text.size() * font.pixelSize() <= width && !text.contains(u'\n'))
        return 1;
    const QString words = paragraphs(start(text));
    return std::max(1, static_cast<int>(wrapped(font, words, width, maximum).size()));
}

bool TextLabel::isCut() const
{
    // Lines of Chinese end without a space.
    return withoutSpaces(shownLines().join(u' ')) != withoutSpaces(text());
}

QStringList TextLabel::shownLines() const
{
    const QFontMetrics metrics(font());
    const int free = contentsRect().width();
    const int lineLimit = std::clamp(contentsRect().height() / metrics.height(), 1, m_maximumLines);
    if (lineLimit == 1)
        return {metrics.elidedText(start(text()).simplified(), m_elideMode, free)};
    const QString words = paragraphs(start(text()));
    QStringList lines = wrapped(font(), words, free, lineLimit);
    if (!lines.isEmpty())
        lines.last() = metrics.elidedText(lines.last(), Qt::ElideRight, free);
    return lines;
}

QSize TextLabel::sizeHint() const
{
    const QFontMetricsF metrics(font());
    const double advance = metrics.horizontalAdvance(start(text()).simplified());
    const QMargins margins = contentsMargins();
    return QSize(static_cast<int>(std::ceil(advance)), QFontMetrics(font()).height())
        .grownBy(margins);
}

QSize TextLabel::minimumSizeHint() const
{
    return {0, sizeHint().height()};
}

int TextLabel::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const int free = width - margins.left() - margins.right();
    return (lineCount(font(), text(), free, m_maximumLines) * QFontMetrics(font()).height()) +
           margins.top() + margins.bottom();
}

bool TextLabel::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip)
        setToolTip(isCut() ? plainToolTip(text()) : QString());
    return QLabel::event(event);
}

void TextLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(m_color);
    const QFontMetrics metrics(font());
    const QStringList lines = shownLines();
    const int height = static_cast<int>(lines.size()) * metrics.height();
    const QRect free = contentsRect();
    int top = free.top() + ((free.height() - height) / 2);
    for (const QString &line : lines) {
        const int spare = free.width() - metrics.horizontalAdvance(line);
        int left = free.left();
        if (alignment() & Qt::AlignHCenter)
            left += spare / 2;
        else if (alignment() & Qt::AlignRight)
            left += spare;
        painter.drawText(QPointF(left, baseLine(font(), top, top + metrics.height())), line);
        top += metrics.height();
    }
}

double baseLine(const QFont &font, double top, double bottom)
{
    // Capitals and Chinese characters have their middle here. What fonts say of their own height
    // differs, above all in how much room there is over the letters.
    constexpr double middle = 0.38;
    return std::round(((top + bottom) / 2) + (middle * font.pixelSize()));
}

QString plainToolTip(const QString &text)
{
    return u"<p style='white-space:pre-wrap'>%1</p>"_s.arg(text.toHtmlEscaped());
}

SectionLabel::SectionLabel(const QString &text, const QColor &color, QWidget *parent)
    : QLabel(text.toUpper(), parent)
{
    setTextFormat(Qt::PlainText);
    setFont(MS::sectionLabelFont());
    setColor(color);
    setAccessibleName(text);
}

void SectionLabel::setColor(const QColor &color)
{
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, color);
    setPalette(colors);
}
