#pragma once

#include <QAbstractButton>

/// A button that paints itself. Pressed by a click, the space bar or Return. Takes the keyboard
/// focus by Tab only: a click leaves the focus, and with it text being composed, where it is. Main
/// thread.
class DrawnButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit DrawnButton(QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
