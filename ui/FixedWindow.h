#pragma once

#include <QWidget>

/// A window of one size on the dark ground, in the middle of the screen when it is first shown.
/// Escape closes it, which hides it; its content stays as it is. Control and comma ask for the
/// settings, Control and Q for the end of the program. Main thread.
class FixedWindow : public QWidget
{
    Q_OBJECT

public:
    /// \p size is the content's, in points. \p buttons are those of the title bar.
    FixedWindow(const QString &title, QSize size, Qt::WindowFlags buttons);

    /// The window takes \p content over. Once.
    void setContent(QWidget *content);

    /// Shows it, also where it is minimised, in front of all others and with the keyboard.
    void bringToFront();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
};
