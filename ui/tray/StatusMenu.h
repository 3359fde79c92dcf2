#pragma once

#include <QMenu>
#include <QUuid>

class AppState;

/// The menu of the tray icon: the recording command, the recent meetings, the application's
/// commands. Main thread.
///
/// The desktop may draw it, in another process. Its items are permanent, because some desktops lose
/// a menu that is built anew while it opens; texts and states are brought up to date at each
/// opening, and only the submenu is filled anew. The key equivalents of its items work while the
/// menu is open here; a window that shall obey them needs shortcuts of its own.
class StatusMenu : public QMenu
{
    Q_OBJECT

public:
    /// \p appState must outlive this object.
    explicit StatusMenu(AppState &appState);

    /// Whether the desktop draws the menu, rather than this process.
    void setExported(bool isExported);

    /// Fills it for a desktop that asks for the items before the first opening.
    void prepare();

    /// Opens it here, whoever draws it otherwise.
    void popUpAt(const QPoint &place);

Q_SIGNALS:
    void recordRequested();
    void panelRequested();
    void webRequested();
    void recentRequested(const QUuid &sessionID);
    void preferencesRequested();
    void quitRequested();

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildMenu();
    bool obey(const QKeyEvent &key);
    void refresh();
    void refreshRecord();
    void refreshWebIcon();
    void refillRecents();

    AppState &m_appState;
    bool m_isExported = false;
    bool m_isShownHere = false;
    QAction *m_record = nullptr;
    QAction *m_web = nullptr;
    QMenu *m_recents = nullptr;
};
