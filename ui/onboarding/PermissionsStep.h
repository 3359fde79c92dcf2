#pragma once

#include <QWidget>

class PermissionChecker;
class PermissionRow;
class RestartHint;

/// The second step of the onboarding: asks for what recording needs. Main thread.
class PermissionsStep : public QWidget
{
    Q_OBJECT

public:
    /// \p perms must outlive this object.
    explicit PermissionsStep(PermissionChecker &perms, QWidget *parent = nullptr);

private:
    void wire();
    void refresh();

    PermissionChecker &m_perms;
    PermissionRow *m_mic;
    PermissionRow *m_screen;
    RestartHint *m_hint;
};
