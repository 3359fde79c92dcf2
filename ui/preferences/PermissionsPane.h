#pragma once

#include <QCoroTask>
#include <QWidget>

class PermissionChecker;
class PermissionControls;
class RestartHint;

/// What the program may record, and the ways to change it. Main thread.
class PermissionsPane : public QWidget
{
    Q_OBJECT

public:
    /// \p perms must outlive this object.
    explicit PermissionsPane(PermissionChecker &perms, QWidget *parent = nullptr);

private:
    void build();
    void wire();
    void refresh();
    QCoro::Task<> requestScreen();

    PermissionChecker &m_perms;
    PermissionControls *m_mic;
    PermissionControls *m_screen;
    RestartHint *m_hint;
    bool m_showRestartHint = false; // from the first request on
};
