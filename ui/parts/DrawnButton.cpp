#include "ui/parts/DrawnButton.h"

#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"

#include <QKeyEvent>

DrawnButton::DrawnButton(QWidget *parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
}

void DrawnButton::setAvailable(bool isAvailable)
{
    if (isAvailable == isEnabled())
        return;
    if (!isAvailable)
        m_standIn = yieldFocus(*this);
    setEnabled(isAvailable);
    if (isAvailable && m_standIn && window()->focusWidget() == m_standIn)
        setFocus();
}

QColor DrawnButton::shade() const
{
    constexpr double hovered = 0.07;
    constexpr double pressed = 0.15;
    if (!isEnabled() || !(isDown() || underMouse()))
        return Qt::transparent;
    return MS::faded(MS::text, isDown() ? pressed : hovered);
}

void DrawnButton::keyPressEvent(QKeyEvent *event)
{
    // Some desktops know the space bar only.
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}
