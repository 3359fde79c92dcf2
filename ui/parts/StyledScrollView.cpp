#include "ui/parts/StyledScrollView.h"

#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/ParlovanceScroller.h"

#include <QApplication>
#include <QScrollBar>

StyledScrollView::StyledScrollView(QWidget *parent)
    : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBar(new ParlovanceScroller);
    viewport()->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this, &StyledScrollView::reveal);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &StyledScrollView::leaveHidden);
}

void StyledScrollView::setWidget(QWidget *content)
{
    QScrollArea::setWidget(content);
    content->setAutoFillBackground(false); // the area gives it a background
}

void StyledScrollView::reveal(QWidget *, QWidget *focused)
{
    if (focused && widget() && widget()->isAncestorOf(focused))
        ensureWidgetVisible(focused, 0, 0);
}

/// A key must not act on a control that nobody sees.
void StyledScrollView::leaveHidden()
{
    const QWidget *const focused = window()->focusWidget();
    if (isVisible() && focused && widget()->isAncestorOf(focused) &&
        focused->visibleRegion().isEmpty())
        yieldFocus(*focused);
}
