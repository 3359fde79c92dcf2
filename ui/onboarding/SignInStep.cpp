#include "ui/onboarding/SignInStep.h"

#include "cloud/AuthClient.h"
#include "ui/onboarding/StepHeading.h"
#include "ui/parts/MS.h"
#include "ui/parts/Pill.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/SymbolTile.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
ButtonFace connectFace()
{
    ButtonFace face = amberFace(12.5, QMargins(18, 9, 18, 9));
    face.radius = 7.0;
    face.symbol = u"arrow.up.forward.square"_s;
    return face;
}
} // namespace

SignInStep::SignInStep(AuthClient &auth, QWidget *parent)
    : QWidget(parent)
    , m_auth(auth)
    , m_name(new TextLabel({}, MS::italicSerif(13), MS::text))
    , m_email(new TextLabel({}, MS::monospaced(10.5), MS::muted))
    , m_card(makeAccountCard())
    , m_connect(new PlainButton(connectFace(), u"连接网页账号"_s))
{
    setObjectName(u"signInStep"_s);
    m_connect->setObjectName(u"connect"_s);
    m_connect->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(m_connect, &QAbstractButton::clicked, this, &SignInStep::signInRequested);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_title = addStepHeading(*column, u"STEP 3 · SIGN IN"_s, {});
    column->addSpacing(6);
    column->addWidget(
        new TextLabel(u"与网页版共用账号，会议将自动同步。"_s, MS::system(12), MS::muted));
    column->addSpacing(20);
    column->addWidget(m_card);
    column->addWidget(m_connect);
    column->addStretch();

    connect(&m_auth, &AuthClient::changed, this, &SignInStep::refresh);
    refresh();
}

QWidget *SignInStep::makeAccountCard()
{
    auto *const card = new RoundedBox(MS::bg, MS::border, 10);
    card->setObjectName(u"account"_s);
    m_name->setObjectName(u"accountName"_s);
    m_name->setElideMode(Qt::ElideMiddle);
    m_email->setObjectName(u"accountEmail"_s);
    m_email->setElideMode(Qt::ElideMiddle);
    auto *const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_name);
    texts->addWidget(m_email);
    auto *const row = new QHBoxLayout(card);
    row->setContentsMargins(14, 12, 14, 12);
    row->setSpacing(12);
    row->addWidget(new SymbolTile(u"person.fill"_s, SymbolTile::amberLook(36, 15, 18)));
    row->addLayout(texts, 1);
    row->addWidget(new Pill(tintedLook(u"已连接"_s, MS::moss)));
    return card;
}

void SignInStep::refresh()
{
    const bool isSignedIn = m_auth.isLoggedIn();
    const auto email = m_auth.email();
    m_title->setText(isSignedIn ? u"登录完成"_s : u"使用网页账号登录"_s);
    m_name->setText(email.value_or(u"已登录"_s));
    m_email->setText(email.value_or(QString()));
    m_email->setVisible(email.has_value());
    m_card->setVisible(isSignedIn);
    m_connect->setVisible(!isSignedIn);
}
