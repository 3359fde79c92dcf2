#include "ui/preferences/RadioRow.h"

#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/preferences/PrefRow.h"

#include <QHBoxLayout>
#include <QPainter>

namespace
{
constexpr double ringSide = 13.0;
constexpr double ringLine = 1.5;
constexpr double dotSide = 6.0;
constexpr int gap = 8;
constexpr int focusRoom = 5;
constexpr double focusRadius = 4.0;
} // namespace

RadioRow::RadioRow(const QString &title, const PillLook &remark, QWidget *parent)
    : ChoiceButton(parent)
    , m_title(new TextLabel(title, MS::system(12), MS::text))
{
    setAccessibleName(title);
    setAccessibleDescription(remark.text);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(PrefRow::lineHeight);
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(static_cast<int>(ringSide) + gap, 0, 0, 0);
    row->setSpacing(gap);
    row->addWidget(m_title);
    if (!remark.text.isEmpty())
        row->addWidget(new Pill(remark));
    row->addStretch();
}

void RadioRow::disable()
{
    setEnabled(false);
    m_title->setColor(MS::faint);
}

QSize RadioRow::sizeHint() const
{
    return layout()->sizeHint();
}

void RadioRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ring(ringLine / 2, (height() - ringSide + ringLine) / 2, ringSide - ringLine,
                      ringSide - ringLine);
    const QColor resting = underMouse() ? MS::text : MS::muted;
    const QColor color = isChecked() ? MS::amber : resting;
    painter.setPen(QPen(isEnabled() ? color : MS::faint, ringLine));
    painter.setBrush(shade());
    painter.drawEllipse(ring);
    if (isChecked()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(MS::amber);
        painter.drawEllipse(ring.center(), dotSide / 2, dotSide / 2);
    }
    if (hasFocus())
        paintFocusRing(painter, m_title->geometry().adjusted(-focusRoom, 1, focusRoom, -1),
                       focusRadius);
}
