#include "ui/panel/PopoverFooter.h"

#include "cloud/AuthClient.h"
#include "platform/Workspace.h"
#include "ui/parts/AppNotifications.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
ButtonFace webFace()
{
    return {.font = MS::system(11),
            .textColor = MS::muted,
            .radius = 5.0,
            .padding = QMargins(6, 4, 6, 4),
            .symbol = u"arrow.up.forward.square"_s,
            .symbolPoints = 11.0,
            .symbolColor = MS::muted};
}

ButtonFace accountFace(bool isVerified)
{
    return {.font = MS::monospaced(10.5),
            .textColor = MS::muted,
            .radius = 5.0,
            .padding = QMargins(6, 4, 6, 4),
            .dotColor = isVerified ? MS::moss : MS::muted};
}

ButtonFace gearFace()
{
    return {.radius = 5.0,
            .padding = QMargins(4, 4, 4, 4),
            .symbol = u"gearshape"_s,
            .symbolPoints = 13.0,
            .symbolColor = MS::muted};
}

QString rgba(const QColor &color)
{
    return u"rgba(%1,%2,%3,%4)"_s.arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

/// Signing out is red: it cannot be taken back.
QString menuStyle()
{
    return u"QMenu { background: %1; border: 1px solid %2; padding: 4px; }"
           "QMenu::item { color: %3; padding: 5px 18px; border-radius: 4px; }"
           "QMenu::item:selected { background: %4; }"_s.arg(rgba(MS::raised), rgba(MS::border),
                                                            rgba(MS::ember), rgba(MS::hover));
}
} // namespace

PopoverFooter::PopoverFooter(AuthClient &auth, Workspace &workspace, const ConfiguredOrigin &origin,
                             QWidget *parent)
    : QWidget(parent)
    , m_auth(auth)
    , m_workspace(workspace)
    , m_origin(origin)
    , m_web(new PlainButton(webFace(), u"打开网页版 →"_s, this))
    , m_shortcut(new TextLabel(u"⌃⌥R"_s, MS::system(10), MS::faint, this))
    , m_account(new PlainButton(accountFace(false), {}, this))
    , m_gear(new PlainButton(gearFace(), {}, this))
    , m_menu(new QMenu(this))
{
    m_web->setObjectName(u"openWeb"_s);
    m_shortcut->setObjectName(u"shortcut"_s);
    m_account->setObjectName(u"account"_s);
    m_account->setElideMode(Qt::ElideMiddle);
    m_account->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_gear->setObjectName(u"preferences"_s);
    m_gear->setAccessibleName(u"偏好设置"_s);
    build();
    buildMenu();

    connect(m_web, &QAbstractButton::clicked, this, &PopoverFooter::openWeb);
    connect(m_account, &QAbstractButton::clicked, this, &PopoverFooter::openMenu);
    connect(m_gear, &QAbstractButton::clicked, &AppNotifications::shared(),
            &AppNotifications::parlovanceOpenPreferences);
    connect(&m_auth, &AuthClient::changed, this, &PopoverFooter::refresh);
    refresh();
}

void PopoverFooter::build()
{
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(12, 6, 14, 6);
    row->setSpacing(4);
    row->addWidget(m_web);
    row->addStretch(1);
    row->addWidget(m_shortcut);
    row->addWidget(m_account);
    row->addWidget(m_gear);
}

void PopoverFooter::buildMenu()
{
    m_menu->setObjectName(u"accountMenu"_s);
    m_menu->setFont(MS::system(12));
    m_menu->setStyleSheet(menuStyle());
    const QAction *const signOut = m_menu->addAction(u"退出登录"_s);
    connect(signOut, &QAction::triggered, &m_auth, &AuthClient::logout);
}

void PopoverFooter::refresh()
{
    const auto email = m_auth.email();
    m_shortcut->setVisible(!email);
    setShown(*m_account, email.has_value());
    m_account->setTitle(email.value_or(QString()));
    m_account->setFace(accountFace(m_auth.sessionStatus() == SessionStatus::verified));
}

void PopoverFooter::openWeb()
{
    // Silent without a usable origin: every call to the service tells that.
    if (m_origin)
        m_workspace.openAddress(m_origin->appPage());
}

void PopoverFooter::openMenu()
{
    const QPoint corner = m_account->mapToGlobal(m_account->rect().topRight());
    m_menu->popup(corner - QPoint(m_menu->sizeHint().width(), m_menu->sizeHint().height()));
}
