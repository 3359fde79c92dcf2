#pragma once

#include <QMenu>
#include <QObject>
#include <QString>
#include <QSystemTrayIcon>

#include <optional>

class AppState;

/// The icon in the desktop's tray: shows what the recorder is doing, and offers to start, to stop
/// and to leave. Main thread; made once the tray gate has opened.
class TrayIcon : public QObject
{
    Q_OBJECT

public:
    /// \p appState must outlive this object.
    explicit TrayIcon(AppState &appState, QObject *parent = nullptr);

    /// Also shown by desktops that draw the menu themselves.
    const QMenu &menu() const { return m_menu; }

Q_SIGNALS:
    void quitRequested();

private:
    void buildMenu();
    void refresh();
    void refreshMessage();

    AppState &m_appState;
    QMenu m_menu; // permanent, as some desktops lose a menu that is built anew while it opens
    QAction *m_record = nullptr;
    QSystemTrayIcon m_icon;
    std::optional<QString> m_toldMessage;
};
