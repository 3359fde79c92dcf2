#include "ui/preferences/PermissionControls.h"

#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/Pill.h"
#include "ui/parts/PlainButton.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
const QMargins buttonPadding(8, 4, 8, 4);

PillLook statusPill(PermissionStatus status, bool needsRestart)
{
    if (needsRestart && status != PermissionStatus::granted)
        return {.text = u"需重启"_s, .color = MS::amber, .fill = MS::amberDim};
    switch (status) {
    case PermissionStatus::granted:
        return tintedLook(u"已授权"_s, MS::moss);
    case PermissionStatus::denied:
        return tintedLook(u"未授权"_s, MS::ember);
    case PermissionStatus::unknown:
        return {.text = u"未请求"_s, .color = MS::muted, .fill = MS::raised};
    }
    Q_UNREACHABLE();
}

QString actionLabel(PermissionStatus status, bool needsRestart)
{
    if (needsRestart)
        return u"重新打开设置"_s;
    return status == PermissionStatus::denied ? u"重新请求"_s : u"授权"_s;
}
} // namespace

PermissionControls::PermissionControls(const QString &label, QWidget *parent)
    : QWidget(parent)
    , m_state(new Pill)
    , m_open(new PlainButton(raisedFace(10.5, MS::muted, buttonPadding), u"打开系统设置"_s))
    , m_grant(new PlainButton(amberFace(10.5, buttonPadding), {}))
{
    m_state->setObjectName(u"state"_s);
    m_open->setObjectName(u"open"_s);
    m_open->setAccessibleDescription(label);
    m_grant->setObjectName(u"grant"_s);
    m_grant->setAccessibleDescription(label);
    connect(m_open, &QAbstractButton::clicked, this, &PermissionControls::openRequested);
    connect(m_grant, &QAbstractButton::clicked, this, &PermissionControls::grantRequested);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(5);
    row->addWidget(m_state);
    row->addWidget(m_open);
    row->addWidget(m_grant);
    row->addStretch();
}

void PermissionControls::setStatus(PermissionStatus status, bool needsRestart)
{
    m_state->setLook(statusPill(status, needsRestart));
    m_grant->setTitle(actionLabel(status, needsRestart));
    setShown(*m_grant, status != PermissionStatus::granted);
}
