#pragma once

#include "cloud/ServiceOrigin.h"

#include <QWidget>

class AuthClient;

/// The third step of the onboarding while the user is signing in with the browser. Main thread.
class SignInWaitStep : public QWidget
{
    Q_OBJECT

public:
    /// \p auth must outlive this object.
    SignInWaitStep(const AuthClient &auth, const ConfiguredOrigin &origin,
                   QWidget *parent = nullptr);

Q_SIGNALS:
    void cancelled();
};
