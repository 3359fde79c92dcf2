#include "ui/preferences/PermissionsPane.h"

#include "audio/PermissionChecker.h"
#include "base/Tasks.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/preferences/PermissionControls.h"
#include "ui/preferences/PrefRow.h"
#include "ui/windows/RestartHint.h"

#include <QPointer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
const auto micLabel = u"麦克风"_s;
const auto screenLabel = u"屏幕与系统音频"_s;

ButtonFace refreshFace()
{
    ButtonFace face = raisedFace(11, MS::muted, QMargins(10, 4, 10, 4));
    face.symbol = u"arrow.clockwise"_s;
    return face;
}
} // namespace

PermissionsPane::PermissionsPane(PermissionChecker &perms, QWidget *parent)
    : QWidget(parent)
    , m_perms(perms)
    , m_mic(new PermissionControls(micLabel))
    , m_screen(new PermissionControls(screenLabel))
    , m_hint(new RestartHint(perms))
{
    m_mic->setObjectName(u"microphone"_s);
    m_screen->setObjectName(u"screen"_s);
    build();
    wire();
    refresh();
}

void PermissionsPane::build()
{
    auto *const reread = new PlainButton(refreshFace(), u"刷新状态"_s);
    reread->setObjectName(u"refresh"_s);
    connect(reread, &QAbstractButton::clicked, &m_perms,
            [this] { runDetached(m_perms.reconsider()); });

    auto *const below = new QVBoxLayout;
    below->setContentsMargins(20, 14, 20, 14);
    below->setSpacing(14);
    below->addWidget(reread, 0, Qt::AlignLeft);
    below->addWidget(m_hint);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new PrefRow(micLabel, u"Microphone"_s, m_mic));
    column->addWidget(new PrefRow(screenLabel, u"Screen & System Audio"_s, m_screen));
    column->addLayout(below);
}

void PermissionsPane::wire()
{
    connect(m_mic, &PermissionControls::openRequested, &m_perms,
            &PermissionChecker::openMicSettings);
    connect(m_mic, &PermissionControls::grantRequested, this,
            [this] { runDetached(m_perms.requestMic()); });
    connect(m_screen, &PermissionControls::openRequested, &m_perms,
            &PermissionChecker::openScreenRecordingSettings);
    connect(m_screen, &PermissionControls::grantRequested, this,
            [this] { runDetached(requestScreen()); });
    connect(&m_perms, &PermissionChecker::changed, this, &PermissionsPane::refresh);
}

QCoro::Task<> PermissionsPane::requestScreen()
{
    const QPointer self(this);
    co_await m_perms.requestScreen();
    if (!self)
        co_return;
    m_showRestartHint = true;
    refresh();
}

void PermissionsPane::refresh()
{
    m_mic->setStatus(m_perms.mic(), false);
    m_screen->setStatus(m_perms.screen(), m_perms.screenNeedsRestart());
    m_hint->setVisible((m_perms.screenNeedsRestart() || m_showRestartHint) &&
                       m_perms.screen() != PermissionStatus::granted);
}
