#include "ui/preferences/PrefRow.h"

#include "ui/parts/MS.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace
{
constexpr int labelWidth = 120;
} // namespace

PrefRow::PrefRow(const QString &label, const QString &sub, QWidget *content, QWidget *parent)
    : QWidget(parent)
{
    auto *const texts = new QWidget;
    texts->setFixedWidth(labelWidth);
    auto *const column = new QVBoxLayout(texts);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    auto *const title = new TextLabel(label, MS::system(12.5), MS::textDim);
    column->addWidget(title);
    if (sub.isEmpty())
        title->setFixedHeight(lineHeight);
    else
        column->addWidget(makeNote(sub, MS::faint));

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(20, 10, 20, 11); // the last point is the line's
    row->setSpacing(16);
    row->addWidget(texts, 0, Qt::AlignTop);
    row->addWidget(content, 1);
}

void PrefRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, MS::border);
}

TextLabel *makeNote(const QString &text, const QColor &color)
{
    constexpr int mostLines = 3;
    auto *const note = new TextLabel(text, MS::system(10.5), color);
    note->setMaximumLines(mostLines);
    return note;
}
