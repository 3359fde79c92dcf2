#pragma once

#include "audio/PermissionChecker.h"
#include "cloud/ServiceOrigin.h"

#include <QTimer>
#include <QWidget>

#include <array>

class AuthClient;
class OnboardingFooter;
class PrefsStore;
class QStackedWidget;

/// Leads a new user in three steps from the welcome over the permissions to the sign-in. 520 x 400.
/// Main thread.
///
/// Where it stands outlives hiding. On the first step it looks at the permissions for three seconds
/// after it was shown; at all other times it follows what is announced.
class OnboardingView : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object; \p origin is copied.
    OnboardingView(AuthClient &auth, PermissionChecker &perms, PrefsStore &prefs,
                   const ConfiguredOrigin &origin, QWidget *parent = nullptr);

Q_SIGNALS:
    /// After the last step; that it was completed is stored by then.
    void finished();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    struct Primary {
        QString label;
        bool isDisabled = false;
    };
    using Permissions = std::array<PermissionStatus, 2>; // microphone, screen

    void build(const ConfiguredOrigin &origin);
    void wire();
    Primary primary() const;
    Permissions permissions() const;
    bool isWaitingShown() const;

    void setStep(int step);
    void setWaiting(bool isWaiting);
    void handlePrimary();
    void beginSignIn();
    void followPermissions();
    void followSession();
    void autoAdvanceFromStep1IfReady();
    void poll();
    void refresh();

    AuthClient &m_auth;
    PermissionChecker &m_perms;
    PrefsStore &m_prefs;
    int m_step = 1;
    bool m_waitingForAuth = false; // the browser has not come back yet
    Permissions m_seenPermissions;
    bool m_wasSignedIn;
    QTimer m_polling;
    int m_roundsLeft = 0;
    QStackedWidget *m_pages; // the steps, and at last the third one while waiting
    OnboardingFooter *m_footer;
};
