#pragma once

#include <QWidget>

class AuthClient;
class PlainButton;
class TextLabel;

/// The third step of the onboarding while no sign-in is under way: offers one, or shows the account
/// that is signed in. Main thread.
class SignInStep : public QWidget
{
    Q_OBJECT

public:
    /// \p auth must outlive this object.
    explicit SignInStep(AuthClient &auth, QWidget *parent = nullptr);

Q_SIGNALS:
    void signInRequested();

private:
    QWidget *makeAccountCard();
    void refresh();

    AuthClient &m_auth;
    TextLabel *m_title = nullptr;
    TextLabel *m_name;
    TextLabel *m_email;
    QWidget *m_card;
    PlainButton *m_connect;
};
