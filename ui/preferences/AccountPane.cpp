#include "ui/preferences/AccountPane.h"

#include "cloud/AuthClient.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/TextLabel.h"
#include "ui/preferences/PrefRow.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr int dotSide = 6;
const QMargins buttonPadding(14, 6, 14, 6);
} // namespace

AccountPane::AccountPane(AuthClient &auth, QWidget *parent)
    : QWidget(parent)
    , m_auth(auth)
    , m_dot(new RoundedBox(MS::moss, Qt::transparent, dotSide / 2.0))
    , m_account(new TextLabel({}, MS::system(12), MS::text))
    , m_signOut(new PlainButton(raisedFace(12, MS::ember, buttonPadding), u"退出登录"_s))
    , m_signIn(new PlainButton(amberFace(12, buttonPadding), u"连接网页账号"_s))
    , m_problem(new TextLabel({}, MS::system(11), MS::ember))
{
    m_dot->setObjectName(u"accountDot"_s);
    m_account->setObjectName(u"account"_s);
    m_signOut->setObjectName(u"signOut"_s);
    m_signIn->setObjectName(u"signIn"_s);
    m_problem->setObjectName(u"problem"_s);
    m_problem->setMaximumLines(3);
    m_problem->setContentsMargins(20, 0, 20, 14);
    connect(m_signOut, &QAbstractButton::clicked, &m_auth, &AuthClient::logout);
    connect(m_signIn, &QAbstractButton::clicked, &m_auth, &AuthClient::beginLogin);

    auto *const buttons = new QHBoxLayout;
    buttons->setContentsMargins(20, 14, 20, 14);
    buttons->addWidget(m_signOut);
    buttons->addWidget(m_signIn);
    buttons->addStretch();
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new PrefRow(u"当前账号"_s, {}, makeAccount()));
    column->addLayout(buttons);
    column->addWidget(m_problem);

    connect(&m_auth, &AuthClient::changed, this, &AccountPane::refresh);
    refresh();
}

QWidget *AccountPane::makeAccount()
{
    m_dot->setFixedSize(dotSide, dotSide);
    m_account->setElideMode(Qt::ElideMiddle);
    m_account->setFixedHeight(PrefRow::lineHeight);
    auto *const content = new QWidget;
    auto *const row = new QHBoxLayout(content);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(m_dot);
    row->addWidget(m_account, 1);
    return content;
}

void AccountPane::refresh()
{
    const auto email = m_auth.email();
    m_dot->setVisible(email.has_value());
    m_account->setText(email.value_or(u"未登录"_s));
    m_account->setColor(email ? MS::text : MS::muted);
    setShown(*m_signOut, m_auth.isLoggedIn());
    setShown(*m_signIn, !m_auth.isLoggedIn());
    m_problem->setText(m_auth.signInProblem().value_or(QString()));
    setShown(*m_problem, m_auth.signInProblem().has_value());
}
