#pragma once

#include "ui/panel/PopoverFade.h"

#include <QElapsedTimer>
#include <QRect>
#include <QWidget>

#include <optional>

/// The frameless window of the main panel. It stands in front of everything beside the tray icon,
/// and closes when the user turns to something else, with Escape, or with a second click on the
/// icon. Main thread.
///
/// A tool window, not a popup: a popup's grab would swallow the click that closes it, and would
/// take mouse clicks on the candidates of an input method for clicks outside.
class PopoverWindow : public QWidget
{
    Q_OBJECT

public:
    /// Takes over \p content, whose window this becomes. It keeps the size that it has now where
    /// the screen has room, else it is given less.
    explicit PopoverWindow(QWidget *content);

    /// Shows the window in front and with the keyboard's focus. \p icon is where the tray icon is,
    /// in points of the desktop; none where nobody knows.
    void openBeside(const std::optional<QRect> &icon);

    /// A click on the icon: opens, or closes where it is shown. Where that click has just closed
    /// the window already, by taking the focus away, it stays closed.
    void toggleBeside(const std::optional<QRect> &icon);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void hideIfLeft();
    QWidget *ownWindowInFront() const;

    PopoverFade m_fade{*this};
    const QSize m_wantedSize;
    QElapsedTimer m_sinceLeft; ///< since it closed because the user turned to something else
};
