#pragma once

#include "cloud/ServiceOrigin.h"

#include <QWidget>

class AppState;
class AuthClient;
class Workspace;

/// The panel that the program is worked with: sign-in, recording, the current session, the recent
/// ones. 360 x 680; where there is less, the list of recent ones gives way, and below its least
/// height all is scrolled but the lowest row. Main thread.
///
/// It keeps no state: it shows what the two objects say whenever they announce a change, and calls
/// them. Nothing in it moves while it is hidden.
class PopoverView : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object; \p origin is copied.
    PopoverView(AppState &app, AuthClient &auth, Workspace &workspace,
                const ConfiguredOrigin &origin, QWidget *parent = nullptr);

Q_SIGNALS:
    void minimiseRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    QWidget *makeSections(AppState &app, AuthClient &auth, Workspace &workspace);
};
