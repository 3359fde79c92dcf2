#pragma once

#include <QWidget>

class AuthClient;
class SymbolLabel;
class TextLabel;

/// Asks the user to sign in, for as long as nobody is signed in; otherwise it hides. Main thread.
class SignInBanner : public QWidget
{
    Q_OBJECT

public:
    /// \p auth must outlive this object.
    explicit SignInBanner(AuthClient &auth, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    AuthClient &m_auth;
    SymbolLabel *m_icon;
    TextLabel *m_title;
    TextLabel *m_subtitle;
};
