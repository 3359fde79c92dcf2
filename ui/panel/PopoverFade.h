#pragma once

#include <QPropertyAnimation>

#include <memory>

class QLabel;

/// Lets a window fade in and out where the desktop blends windows; elsewhere it does nothing. Both
/// last a moment, and the window works meanwhile: it is shown, and hidden, at once. Main thread.
class PopoverFade
{
public:
    /// \p window must outlive this object.
    explicit PopoverFade(QWidget &window);
    ~PopoverFade();

    /// To be called before the window is shown.
    void begin();

    /// To be called when the window has been hidden: a picture of it goes in its place.
    void end();

private:
    QWidget &m_window;
    QPropertyAnimation m_coming;
    std::unique_ptr<QLabel> m_picture; ///< of the window, while that fades out
};
