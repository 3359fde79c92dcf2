#pragma once

#include "cloud/ServiceOrigin.h"

#include <QMenu>
#include <QWidget>

class AuthClient;
class PlainButton;
class TextLabel;
class Workspace;

/// The lowest row of the panel: the web application, the account, the preferences. Main thread.
class PopoverFooter : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object; \p origin is copied.
    PopoverFooter(AuthClient &auth, Workspace &workspace, const ConfiguredOrigin &origin,
                  QWidget *parent = nullptr);

private:
    void build();
    void buildMenu();
    void refresh();
    void openWeb();
    void openMenu();

    AuthClient &m_auth;
    Workspace &m_workspace;
    const ConfiguredOrigin m_origin;
    PlainButton *m_web;
    TextLabel *m_shortcut; // where nobody is signed in
    PlainButton *m_account;
    PlainButton *m_gear;
    QMenu *m_menu;
};
