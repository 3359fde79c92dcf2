#include "ui/panel/PopoverFade.h"

#include "ui/panel/X11Display.h"

#include <QLabel>

namespace
{
constexpr int fadeMilliseconds = 120;
constexpr double firstOpacity = 0.3; // the first frame can be read already

void setUp(QPropertyAnimation &fade, double from, double to)
{
    fade.setDuration(fadeMilliseconds);
    fade.setStartValue(from);
    fade.setEndValue(to);
}
} // namespace

PopoverFade::PopoverFade(QWidget &window)
    : m_window(window)
    , m_coming(&window, "windowOpacity")
{
    setUp(m_coming, firstOpacity, 1.0);
}

PopoverFade::~PopoverFade() = default;

void PopoverFade::begin()
{
    m_picture.reset();
    if (!isComposited())
        return;
    m_window.setWindowOpacity(firstOpacity);
    m_coming.start();
}

void PopoverFade::end()
{
    m_coming.stop();
    m_window.setWindowOpacity(1.0);
    if (!isComposited())
        return;
    m_picture = std::make_unique<QLabel>(nullptr, Qt::ToolTip | Qt::FramelessWindowHint |
                                                      Qt::WindowTransparentForInput |
                                                      Qt::WindowDoesNotAcceptFocus);
    m_picture->setAttribute(Qt::WA_ShowWithoutActivating);
    m_picture->setPixmap(m_window.grab());
    m_picture->setGeometry(m_window.geometry());
    auto *const leaving = new QPropertyAnimation(m_picture.get(), "windowOpacity", m_picture.get());
    setUp(*leaving, 1.0, 0.0);
    QObject::connect(leaving, &QAbstractAnimation::finished, m_picture.get(),
                     [this] { m_picture.release()->deleteLater(); });
    m_picture->show();
    leaving->start();
}
