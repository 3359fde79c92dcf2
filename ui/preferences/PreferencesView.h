#pragma once

#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"
#include "ui/preferences/FolderChooser.h"

#include <QString>
#include <QWidget>

#include <array>
#include <map>

/// The panes of the preferences, in the order of the sidebar.
enum class PreferencesTab { general, recording, permissions, account, hotkey, about };

inline constexpr std::array preferencesTabs{PreferencesTab::general,     PreferencesTab::recording,
                                            PreferencesTab::permissions, PreferencesTab::account,
                                            PreferencesTab::hotkey,      PreferencesTab::about};

struct PreferencesTabFace {
    QString rawValue;   ///< for the program, "general"
    QString label;      ///< for the user
    QString symbolName; ///< of its symbol
};

PreferencesTabFace faceOf(PreferencesTab tab);

class AuthClient;
class PermissionChecker;
class PrefsStore;
class StyledScrollView;
class UpdateChecker;
class Workspace;

/// The user's settings, in panes that are chosen from a sidebar. 560 x 440. Main thread.
///
/// It keeps no state but which pane is shown; what is changed is stored at once.
class PreferencesView : public QWidget
{
    Q_OBJECT

public:
    /// What the panes show and change; everything must outlive the view.
    struct Dependencies {
        AuthClient &auth;
        PermissionChecker &perms;
        UpdateChecker &updater;
        PrefsStore &prefs;
        BundleInformation bundle;
        Workspace &workspace;
        ConfiguredOrigin origin;
        FolderChooser chooser;
    };

    explicit PreferencesView(const Dependencies &dependencies, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *makeSidebar();
    QWidget *makePanes(const Dependencies &dependencies);
    void setTab(PreferencesTab tab);

    std::map<PreferencesTab, QWidget *> m_panes;
    StyledScrollView *m_scroll;
};
