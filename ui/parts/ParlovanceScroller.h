#pragma once

#include <QScrollBar>

/// A thin amber knob in a faint slot, which brightens under the pointer. Vertical. Main thread.
class ParlovanceScroller : public QScrollBar
{
    Q_OBJECT

public:
    explicit ParlovanceScroller(QWidget *parent = nullptr);

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_pointerInside = false;
};
