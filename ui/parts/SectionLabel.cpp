#include "ui/parts/SectionLabel.h"

#include "ui/parts/MS.h"

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
