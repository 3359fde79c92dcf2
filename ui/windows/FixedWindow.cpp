#include "ui/windows/FixedWindow.h"

#include "ui/parts/AppNotifications.h"
#include "ui/parts/MS.h"
#include "ui/parts/Symbol.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

FixedWindow::FixedWindow(const QString &title, QWidget *content, Qt::WindowFlags buttons)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | buttons)
{
    setWindowTitle(title);
    setAccessibleName(title);
    setWindowIcon(applicationIcon());
    QPalette colors = palette();
    colors.setColor(QPalette::Window, MS::bg2);
    colors.setColor(QPalette::WindowText, MS::text);
    setPalette(colors);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(content);
    setFixedSize(content->size());
    QRect place(QPoint(), size());
    place.moveCenter(screen()->availableGeometry().center());
    setGeometry(place);
    connect(new QShortcut(Qt::CTRL | Qt::Key_Comma, this), &QShortcut::activated,
            &AppNotifications::shared(), &AppNotifications::parlovanceOpenPreferences);
    connect(new QShortcut(Qt::CTRL | Qt::Key_Q, this), &QShortcut::activated, qGuiApp,
            &QCoreApplication::quit);
}

void FixedWindow::bringToFront()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void FixedWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

// Take the keyboard, or else the toolkit gives it to the first button, which nobody has asked for.
void FixedWindow::showEvent(QShowEvent *event)
{
    if (!focusWidget())
        setFocus();
    QWidget::showEvent(event);
}
