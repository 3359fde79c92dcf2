#pragma once

#include <QWidget>

class PermissionChecker;

/// Tells that a permission counts only after a restart, and offers one. Who owns it decides when it
/// is seen. Main thread.
class RestartHint : public QWidget
{
    Q_OBJECT

public:
    /// \p perms must outlive this object.
    explicit RestartHint(PermissionChecker &perms, QWidget *parent = nullptr);
};
