#pragma once

#include <QColor>
#include <QLabel>

/// Plain text in one colour, cut with an ellipsis where it does not fit; the whole text is in the
/// tooltip then. Main thread.
///
/// A line is as high as the font's own, also where letters of another font stand in it, so that
/// Chinese and Latin texts share a base line.
class TextLabel : public QLabel
{
    Q_OBJECT

public:
    TextLabel(const QString &text, const QFont &font, const QColor &color,
              QWidget *parent = nullptr);

    const QColor &color() const { return m_color; }
    void setColor(const QColor &color);

    /// One unless set. With more the text is wrapped. Fewer are shown where the height is for
    /// fewer.
    void setMaximumLines(int lines);

    /// Where a single line is cut: at its end unless set.
    void setElideMode(Qt::TextElideMode mode);

    /// How many lines of \p font the text takes where \p width pixels are free, 1 to \p maximum.
    static int lineCount(const QFont &font, const QString &text, int width, int maximum);

    /// Whether a part of the text is not shown at the present size.
    bool isCut() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QStringList shownLines() const;

    QColor m_color;
    int m_maximumLines = 1;
    Qt::TextElideMode m_elideMode = Qt::ElideRight;
};

/// Where letters stand so that they look centred between \p top and \p bottom, in pixels.
double baseLine(const QFont &font, double top, double bottom);

/// \p text for setToolTip(), which would take some texts for HTML. Long ones are wrapped.
QString plainToolTip(const QString &text);

/// A small heading in capitals, widely spaced. Main thread.
class SectionLabel : public QLabel
{
    Q_OBJECT

public:
    SectionLabel(const QString &text, const QColor &color, QWidget *parent = nullptr);

    void setColor(const QColor &color);
};
