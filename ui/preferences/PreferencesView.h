#pragma once

#include "cloud/ServiceOrigin.h"
#include "platform/BundleInformation.h"
#include "ui/preferences/FolderChooser.h"
#include "ui/preferences/PreferencesTab.h"

#include <QWidget>

#include <map>

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
    struct Surroundings {
        AuthClient &auth;
        PermissionChecker &perms;
        UpdateChecker &updater;
        PrefsStore &prefs;
        BundleInformation bundle;
        Workspace &workspace;
        ConfiguredOrigin origin;
        FolderChooser chooser;
    };

    explicit PreferencesView(const Surroundings &surroundings, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QWidget *makeSidebar();
    QWidget *makePanes(const Surroundings &surroundings);
    void setTab(PreferencesTab tab);

    std::map<PreferencesTab, QWidget *> m_panes;
    StyledScrollView *m_scroll;
};
