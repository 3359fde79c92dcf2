#pragma once

#include <QScrollArea>

/// Scrolls its content vertically only, without background or frame. The content is as wide as the
/// view: its scroller, shown when there is something to scroll, lies upon the last 11 pixels at the
/// right. What has the keyboard is in view: it comes there, or loses the keyboard when it is
/// scrolled out. Main thread.
class StyledScrollView : public QScrollArea
{
    Q_OBJECT

public:
    explicit StyledScrollView(QWidget *parent = nullptr);

    /// Replaces the content; the view takes it over.
    void setWidget(QWidget *content);

private:
    void reveal(QWidget *before, QWidget *focused);
    void leaveHidden();
};
