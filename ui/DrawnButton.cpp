#include "ui/DrawnButton.h"

#include "ui/KeyboardFocus.h"

#include <QKeyEvent>

DrawnButton::DrawnButton(QWidget *parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
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

void DrawnButton::keyPressEvent(QKeyEvent *event)
{
    // Some desktops know the space bar only.
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}
