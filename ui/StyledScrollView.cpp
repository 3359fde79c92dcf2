#include "ui/StyledScrollView.h"

#include "ui/ParlovanceScroller.h"

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
}

void StyledScrollView::setWidget(QWidget *content)
{
    QScrollArea::setWidget(content);
    content->setAutoFillBackground(false); // the area gives it a background
}
