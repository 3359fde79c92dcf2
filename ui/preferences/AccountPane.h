#pragma once

#include <QWidget>

class AuthClient;
class PlainButton;
class TextLabel;

/// Tells who is signed in, and offers to sign in or out. Main thread.
class AccountPane : public QWidget
{
    Q_OBJECT

public:
    /// \p auth must outlive this object.
    explicit AccountPane(AuthClient &auth, QWidget *parent = nullptr);

private:
    QWidget *makeAccount();
    void refresh();

    AuthClient &m_auth;
    QWidget *m_dot;
    TextLabel *m_account;
    PlainButton *m_signOut;
    PlainButton *m_signIn;
    TextLabel *m_problem;
};
