#include "ui/panel/PopoverWindow.h"

#include "ui/panel/PopoverPlacement.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace
{

// Longer than between the press of the mouse that takes the focus away, and the click it is part
// of.
constexpr qint64 sameClickMilliseconds = 250;

/// Of the icon; or the one whose panel has taken some room.
QScreen *screenOf(const std::optional<QRect> &icon)
{
    if (icon) {
        QScreen *const there = QGuiApplication::screenAt(icon->center());
        return there ? there : QGuiApplication::primaryScreen();
    }
    const auto screens = QGuiApplication::screens(); // the primary one first
    const auto withPanel = std::ranges::find_if(screens, [](const QScreen *screen) {
        return screen->availableGeometry() != screen->geometry();
    });
    return withPanel == screens.end() ? QGuiApplication::primaryScreen() : *withPanel;
}

bool belongsTo(const QWidget *window, const QWidget *owner)
{
    while (window && window != owner)
        window = window->parentWidget();
    return window;
}

} // namespace

PopoverWindow::PopoverWindow(QWidget *content)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
    , m_wantedSize(content->size())
{
    setObjectName(QStringLiteral("popover"));
    setWindowTitle(QStringLiteral("Parlovance"));
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(content);
}

void PopoverWindow::openBeside(const std::optional<QRect> &icon)
{
    if (!isVisible()) {
        if (const QScreen *const screen = screenOf(icon)) {
            const QRect available = screen->availableGeometry();
            setFixedSize(m_wantedSize.boundedTo(available.size()));
            move(popoverPosition(size(), screen->geometry(), available, icon));
        }
        m_fade.begin();
        show();
    }
    raise();
    activateWindow();
}

void PopoverWindow::toggleBeside(const std::optional<QRect> &icon)
{
    const bool thisClickHasClosedIt =
        m_sinceLeft.isValid() && !m_sinceLeft.hasExpired(sameClickMilliseconds);
    if (isVisible())
        hide();
    else if (!thisClickHasClosedIt)
        openBeside(icon);
}

bool PopoverWindow::event(QEvent *event)
{
    // Which window becomes active instead is known only after this event.
    if (event->type() == QEvent::WindowDeactivate)
        QTimer::singleShot(0, this, &PopoverWindow::hideIfLeft);
    if (event->type() == QEvent::Show)
        m_sinceLeft.invalidate();
    if (event->type() == QEvent::Hide && !event->spontaneous())
        m_fade.end();
    return QWidget::event(event);
}

void PopoverWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        hide();
    else
        QWidget::keyPressEvent(event);
}

// Of a window of our own that was in front: it is left in its turn.
bool PopoverWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Hide || event->type() == QEvent::WindowDeactivate) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, &PopoverWindow::hideIfLeft);
    }
    return QWidget::eventFilter(watched, event);
}

void PopoverWindow::hideIfLeft()
{
    if (!isVisible() || QApplication::activeWindow() == this)
        return;
    if (QWidget *const inFront = ownWindowInFront()) {
        inFront->installEventFilter(this);
        return;
    }
    m_sinceLeft.start();
    hide();
}

/// A menu, a dialog or another window of this program over the popover; null: the user has left.
QWidget *PopoverWindow::ownWindowInFront() const
{
    if (QWidget *const menu = QApplication::activePopupWidget())
        return menu;
    if (QWidget *const dialog = QApplication::activeModalWidget())
        return dialog;
    QWidget *const active = QApplication::activeWindow();
    return belongsTo(active, this) ? active : nullptr;
}
