#include "ui/DrawnButton.h"

#include <QKeyEvent>

DrawnButton::DrawnButton(QWidget *parent)
    : QAbstractButton(parent)
{
    setFocusPolicy(Qt::TabFocus);
}

void DrawnButton::keyPressEvent(QKeyEvent *event)
{
    // Some desktops know the space bar only.
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        QAbstractButton::keyPressEvent(event);
    else if (!event->isAutoRepeat())
        click();
}
