#pragma once

#include "audio/PermissionChecker.h"
#include "ui/parts/RoundedBox.h"

class Pill;
class PlainButton;
class SymbolTile;

/// One permission of the onboarding: what it is for, and its state or what can be done about it.
/// Main thread.
class PermissionRow : public RoundedBox
{
    Q_OBJECT

public:
    PermissionRow(const QString &icon, const QString &label, const QString &sub,
                  QWidget *parent = nullptr);

    void setStatus(PermissionStatus status, bool needsRestart);

Q_SIGNALS:
    void grantRequested();
    void openRequested();

private:
    SymbolTile *m_icon;
    Pill *m_state;
    PlainButton *m_open;
    PlainButton *m_grant;
};
