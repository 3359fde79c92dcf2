#pragma once

#include "audio/PermissionChecker.h"

#include <QWidget>

class Pill;
class PlainButton;

/// The right side of a row of the permissions pane: the state, the way to the desktop's settings,
/// and until it is granted, a button that asks for it. Main thread.
class PermissionControls : public QWidget
{
    Q_OBJECT

public:
    /// \p label is what the permission is called.
    explicit PermissionControls(const QString &label, QWidget *parent = nullptr);

    void setStatus(PermissionStatus status, bool needsRestart);

Q_SIGNALS:
    void openRequested();
    void grantRequested();

private:
    Pill *m_state;
    PlainButton *m_open;
    PlainButton *m_grant;
};
