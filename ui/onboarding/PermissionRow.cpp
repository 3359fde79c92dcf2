#include "ui/onboarding/PermissionRow.h"

#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/Pill.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/SymbolTile.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr double groundOpacity = 0.16;
const QMargins buttonPadding(12, 5, 12, 5);

TileLook iconLook(bool isGranted)
{
    const QColor color = isGranted ? MS::moss : MS::amber;
    return {.symbolPoints = 14.0,
            .radius = 8.0,
            .symbolColor = color,
            .fill = isGranted ? MS::faded(MS::moss, groundOpacity) : MS::amberDim};
}

PillLook stateLook(bool isGranted)
{
    PillLook look =
        tintedLook(isGranted ? u"已授权"_s : u"需重启"_s, isGranted ? MS::moss : MS::amber);
    look.symbol = isGranted ? u"checkmark"_s : u"arrow.clockwise"_s;
    return look;
}
} // namespace

PermissionRow::PermissionRow(const QString &icon, const QString &label, const QString &sub,
                             QWidget *parent)
    : RoundedBox(MS::bg, MS::border, 10, parent)
    , m_icon(new SymbolTile(icon, iconLook(false)))
    , m_state(new Pill)
    , m_open(new PlainButton(raisedFace(11.5, MS::textDim, buttonPadding), u"前往设置"_s))
    , m_grant(new PlainButton(amberFace(11.5, buttonPadding), u"授权"_s))
{
    m_state->setObjectName(u"state"_s);
    m_open->setObjectName(u"open"_s);
    m_open->setAccessibleDescription(label);
    m_grant->setObjectName(u"grant"_s);
    m_grant->setAccessibleDescription(label);
    connect(m_open, &QAbstractButton::clicked, this, &PermissionRow::openRequested);
    connect(m_grant, &QAbstractButton::clicked, this, &PermissionRow::grantRequested);

    auto *const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(new TextLabel(label, MS::system(13), MS::text));
    texts->addWidget(new TextLabel(sub, MS::system(10.5), MS::faint));
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(12, 10, 12, 10);
    row->setSpacing(12);
    row->addWidget(m_icon);
    row->addLayout(texts, 1);
    row->addWidget(m_state);
    row->addWidget(m_open);
    row->addWidget(m_grant);
}

void PermissionRow::setStatus(PermissionStatus status, bool needsRestart)
{
    const bool isGranted = status == PermissionStatus::granted;
    const bool hasState = isGranted || needsRestart;
    m_icon->setLook(iconLook(isGranted));
    m_state->setLook(stateLook(isGranted));
    m_state->setVisible(hasState);
    setShown(*m_open, !hasState && status == PermissionStatus::denied);
    setShown(*m_grant, !hasState && status == PermissionStatus::unknown);
}
