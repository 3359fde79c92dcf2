#include "ui/parts/KeyboardFocus.h"

#include <QWidget>

QWidget *yieldFocus(const QWidget &leaving)
{
    const QWidget *const holder = leaving.window()->focusWidget();
    if (!holder || leaving.isWindow() || (holder != &leaving && !leaving.isAncestorOf(holder)))
        return nullptr;
    QWidget *heir = leaving.parentWidget();
    while (!heir->isWindow() && heir->focusPolicy() == Qt::NoFocus)
        heir = heir->parentWidget();
    heir->setFocus();
    return heir;
}

void setShown(QWidget &control, bool isShown)
{
    if (!isShown)
        yieldFocus(control);
    control.setVisible(isShown);
}
