#pragma once

#include <QWidget>

/// A window as large as its content on the dark ground, in the middle of the screen when it is
/// first shown. Escape closes it, which hides it; its content stays as it is. Control and comma ask
/// for the settings, Control and Q for the end of the program. Main thread.
class FixedWindow : public QWidget
{
    Q_OBJECT

public:
    /// Takes \p content over, which has a fixed size. \p buttons are those of the title bar.
    FixedWindow(const QString &title, QWidget *content, Qt::WindowFlags buttons);

    /// Shows it, also where it is minimised, in front of all others and with the keyboard.
    void bringToFront();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
};
