#include "ui/panel/SignInBanner.h"

#include "cloud/AuthClient.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QLinearGradient>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
ButtonFace signInFace()
{
    return {.font = MS::system(11, QFont::DemiBold),
            .textColor = MS::inkOnAmber,
            .fill = MS::amber,
            .radius = 6.0,
            .padding = QMargins(10, 4, 10, 4)};
}
} // namespace

SignInBanner::SignInBanner(AuthClient &auth, QWidget *parent)
    : QWidget(parent)
    , m_auth(auth)
    , m_icon(new SymbolLabel(u"cloud"_s, 14, MS::amber, this))
    , m_title(new TextLabel({}, MS::system(11.5), MS::text, this))
    , m_subtitle(new TextLabel({}, MS::system(10.5), MS::faint, this))
{
    setObjectName(u"signInBanner"_s);
    m_title->setObjectName(u"title"_s);
    m_subtitle->setObjectName(u"subtitle"_s);
    m_subtitle->setMaximumLines(3);
    auto *const signIn = new PlainButton(signInFace(), u"登录 →"_s, this);
    signIn->setObjectName(u"signIn"_s);
    connect(signIn, &QAbstractButton::clicked, &m_auth, &AuthClient::beginLogin);

    auto *const texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(m_title);
    texts->addWidget(m_subtitle);
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(18, 8, 18, 8);
    row->setSpacing(10);
    row->addWidget(m_icon);
    row->addLayout(texts, 1);
    row->addWidget(signIn);

    connect(&m_auth, &AuthClient::changed, this, &SignInBanner::refresh);
    refresh();
}

void SignInBanner::refresh()
{
    const bool isExpired = m_auth.sessionStatus() == SessionStatus::expired;
    m_icon->setSymbol(isExpired ? u"exclamationmark.triangle.fill"_s : u"cloud"_s, MS::amber);
    m_title->setText(isExpired ? u"登录已过期，请重新登录"_s : u"登录网页版账号以云端同步"_s);
    const QString advice =
        isExpired ? u"上一次会话已失效，重新登录后可继续上传"_s : u"未登录时会议仅保存在本机"_s;
    m_subtitle->setText(m_auth.signInProblem().value_or(advice));
    m_subtitle->setColor(m_auth.signInProblem() ? MS::ember : MS::faint);
    setShown(*this, !m_auth.isLoggedIn());
}

void SignInBanner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QLinearGradient background(rect().topLeft(), rect().topRight());
    background.setColorAt(0.0, MS::amberDim);
    background.setColorAt(1.0, MS::faded(MS::amber, 0.08));
    painter.fillRect(rect(), background);
}
