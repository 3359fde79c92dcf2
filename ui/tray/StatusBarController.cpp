#include "ui/tray/StatusBarController.h"

#include "base/Tasks.h"
#include "cloud/PresentableText.h"
#include "core/AppState.h"
#include "platform/Workspace.h"
#include "ui/panel/PopoverView.h"
#include "ui/parts/Symbol.h"
#include "ui/tray/ClassicTray.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QPalette>
#include <QPointer>
#include <QShortcut>
#include <QTimer>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

// The desktop asks for the icon and shows it meanwhile.
constexpr std::chrono::milliseconds preparationDelay{500};

QString symbolName(RecordingState state)
{
    switch (state) {
    case RecordingState::idle:
        return u"waveform"_s;
    case RecordingState::starting:
    case RecordingState::recording:
        return u"waveform.circle.fill"_s;
    case RecordingState::stopping:
        return u"waveform.badge.magnifyingglass"_s;
    }
    Q_UNREACHABLE();
}

// The icon is a drawing in one colour on a panel that nobody can ask for its own, except a panel of
// the older kind, which may tell the colour of its text. A desktop's panel mostly follows the
// colour scheme of its windows, and so does the icon, also when the scheme changes. GNOME's bar is
// dark under the light scheme, too.
QColor iconColor()
{
    if (const auto told = ClassicTray::textColor())
        return *told;
    if (qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(u"GNOME"_s))
        return {0xf2, 0xf2, 0xf2};
    return QGuiApplication::palette().color(QPalette::WindowText);
}

/// A text from outside for those who may take it for markup: notifications and tooltips.
QString unmarked(const QString &text)
{
    return presentable(text.simplified()).replace(u'<', u'‹');
}

// The X server of a Wayland desktop does not learn where the pointer is over the desktop's panel.
std::optional<QRect> pointerPlace()
{
    if (qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        return std::nullopt;
    return QRect(QCursor::pos() - QPoint(14, 14), QSize(28, 28)); // of an icon under it
}

} // namespace

IconClick iconClick(QSystemTrayIcon::ActivationReason reason, Qt::KeyboardModifiers modifiers)
{
    if (reason != QSystemTrayIcon::Trigger)
        return IconClick::nothing;
    return modifiers.testFlag(Qt::ControlModifier) ? IconClick::opensMenu
                                                   : IconClick::togglesPopover;
}

StatusBarController::StatusBarController(AppState &appState, AuthClient &auth,
                                         std::function<void()> openPreferences,
                                         std::function<void()> openOnboarding, Workspace &workspace,
                                         ConfiguredOrigin origin, QObject *parent)
    : QObject(parent)
    , m_appState(appState)
    , m_auth(auth)
    , m_openPreferences(std::move(openPreferences))
    , m_openOnboarding(std::move(openOnboarding))
    , m_workspace(workspace)
    , m_origin(std::move(origin))
    , m_menu(appState)
{
    configureMenu();
    connect(&m_appState, &AppState::stateChanged, this, &StatusBarController::refreshIcon);
    connect(&m_appState, &AppState::lastErrorChanged, this, &StatusBarController::refreshMessage);
    m_menu.installEventFilter(this);
}

void StatusBarController::showIcon(bool menuIsExported)
{
    m_menu.setExported(menuIsExported);
    m_icon = std::make_unique<QSystemTrayIcon>(this);
    m_icon->setContextMenu(&m_menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, &StatusBarController::handleClick);
    refreshIcon();
    m_icon->show();
    refreshMessage();
    QTimer::singleShot(preparationDelay, this, [this] { runDetached(prepare()); });
}

/// So that the first click does not wait for it.
QCoro::Task<> StatusBarController::prepare()
{
    const QPointer self(this);
    co_await m_appState.loaded();
    if (!self)
        co_return;
    popover();
    m_menu.prepare();
}

void StatusBarController::configureMenu()
{
    connect(&m_menu, &StatusMenu::recordRequested, &m_appState, &AppState::toggleRecording);
    connect(&m_menu, &StatusMenu::panelRequested, this, &StatusBarController::openPanel);
    connect(&m_menu, &StatusMenu::webRequested, this, &StatusBarController::openWeb);
    connect(&m_menu, &StatusMenu::recentRequested, this, &StatusBarController::openRecent);
    connect(&m_menu, &StatusMenu::preferencesRequested, this,
            &StatusBarController::showPreferences);
    connect(&m_menu, &StatusMenu::quitRequested, qGuiApp, &QCoreApplication::quit);
}

/// Made only now: it takes as long as all the rest of a start.
PopoverWindow &StatusBarController::popover()
{
    if (m_popover)
        return *m_popover;
    auto *const view = new PopoverView(m_appState, m_auth, m_workspace, m_origin);
    m_popover = std::make_unique<PopoverWindow>(view);
    connect(view, &PopoverView::minimiseRequested, m_popover.get(), &QWidget::hide);
    // A desktop may draw the menu without taking the focus from the panel, which then stays open.
    connect(&m_menu, &QMenu::aboutToShow, m_popover.get(), &QWidget::hide);
    for (QAction *const command : m_menu.actions()) {
        if (command->shortcut().isEmpty())
            continue;
        auto *const keys = new QShortcut(command->shortcut(), m_popover.get());
        keys->setAutoRepeat(false);
        connect(keys, &QShortcut::activated, command, &QAction::trigger);
    }
    return *m_popover;
}

void StatusBarController::handleClick(QSystemTrayIcon::ActivationReason reason)
{
    // Ask for the current key state: the click arrives over D-Bus, and the toolkit's remembered
    // modifiers are stale.
    switch (iconClick(reason, QGuiApplication::queryKeyboardModifiers())) {
    case IconClick::nothing:
        return;
    case IconClick::togglesPopover:
        togglePopover();
        return;
    case IconClick::opensMenu:
        m_menu.popUpAt(QCursor::pos());
        return;
    }
}

void StatusBarController::togglePopover()
{
    const auto icon = iconPlace();
    popover().toggleBeside(icon ? icon : pointerPlace());
}

void StatusBarController::openPanel()
{
    if (QApplication::activeWindow() == &popover())
        popover().hide();
    else
        showPanel();
}

void StatusBarController::showPanel()
{
    popover().openBeside(iconPlace());
}

void StatusBarController::openWeb()
{
    if (m_origin)
        m_workspace.openAddress(m_origin->appPage());
}

void StatusBarController::openRecent(const QUuid &sessionID)
{
    const auto &recents = m_appState.recents();
    const auto session = std::ranges::find(recents, sessionID, &RecentSession::id);
    if (session != recents.end() && session->remoteID && m_origin)
        m_workspace.openAddress(m_origin->meetingPage(*session->remoteID));
}

void StatusBarController::showPreferences()
{
    m_openPreferences();
}

void StatusBarController::showOnboarding()
{
    m_openOnboarding();
}

bool StatusBarController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_menu && event->type() == QEvent::ApplicationPaletteChange)
        refreshIcon();
    return QObject::eventFilter(watched, event);
}

void StatusBarController::refreshIcon()
{
    if (m_icon)
        m_icon->setIcon(symbol(symbolName(m_appState.state()), iconColor()));
}

void StatusBarController::refreshMessage()
{
    if (!m_icon)
        return;
    const auto &message = m_appState.lastError();
    const QString text = message ? unmarked(*message) : QString();
    m_icon->setToolTip(message ? u"Parlovance\n"_s + text : u"Parlovance"_s);
    // The open panel shows the same sentence, and the balloon could cover it.
    const bool panelIsOpen = m_popover && m_popover->isVisible();
    if (message && !panelIsOpen)
        m_icon->showMessage(u"Parlovance"_s, text, m_icon->icon());
}

/// The place of the icon is known only in a tray of the older kind.
std::optional<QRect> StatusBarController::iconPlace() const
{
    const QRect place = m_icon ? m_icon->geometry() : QRect();
    return place.isEmpty() ? std::nullopt : std::optional(place);
}
