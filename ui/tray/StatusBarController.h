#pragma once

#include "cloud/ServiceOrigin.h"
#include "ui/panel/PopoverWindow.h"
#include "ui/tray/StatusMenu.h"

#include <QCoroTask>
#include <QObject>
#include <QRect>
#include <QString>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <optional>

class AppState;
class AuthClient;
class Workspace;

enum class IconClick { nothing, togglesPopover, opensMenu };

/// What a click on the tray icon does. \p modifiers are those held at the click. A right click
/// means nothing here: whoever shows the icon opens its menu.
IconClick iconClick(QSystemTrayIcon::ActivationReason reason, Qt::KeyboardModifiers modifiers);

/// The icon in the desktop's tray, which shows what the recorder is doing; a click opens the main
/// panel, a right click or a Control click the menu. Tells every error in a notification, unless
/// the panel is open.
///
/// Made once, and kept for the life of the process. Main thread.
class StatusBarController : public QObject
{
    Q_OBJECT

public:
    /// The references must outlive this object. The callbacks open the window for the settings,
    /// and the one for new users.
    StatusBarController(AppState &appState, AuthClient &auth, std::function<void()> openPreferences,
                        std::function<void()> openOnboarding, Workspace &workspace,
                        ConfiguredOrigin origin, QObject *parent = nullptr);

    /// Puts the icon into the tray. Once, after the tray gate has opened: before, the toolkit would
    /// settle for a tray that is not there. \p menuIsExported tells whether the desktop draws the
    /// icon's menu, rather than this process.
    void showIcon(bool menuIsExported);

    /// Opens the popover, closes it where it is open.
    void togglePopover();

    /// Brings the popover to the front. Where it has the focus already it is closed.
    void openPanel();

    /// Brings the panel to the front, wherever it is.
    void showPanel();

    /// The web application in the browser. Nothing happens without a usable service address.
    void openWeb();

    /// The meeting that \p sessionID was uploaded as, in the browser. Nothing happens where it is
    /// no longer in the list, or not uploaded.
    void openRecent(const QUuid &sessionID);

    void showPreferences();
    void showOnboarding();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    PopoverWindow &popover();
    void configureMenu();
    QCoro::Task<> prepare();
    void handleClick(QSystemTrayIcon::ActivationReason reason);
    void refreshIcon();
    void refreshMessage();
    std::optional<QRect> iconPlace() const;

    AppState &m_appState;
    AuthClient &m_auth;
    const std::function<void()> m_openPreferences;
    const std::function<void()> m_openOnboarding;
    Workspace &m_workspace;
    const ConfiguredOrigin m_origin;
    std::unique_ptr<PopoverWindow> m_popover; // by popover(), which makes it
    StatusMenu m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon; // none before there is a tray
};
