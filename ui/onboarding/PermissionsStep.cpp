#include "ui/onboarding/PermissionsStep.h"

#include "audio/PermissionChecker.h"
#include "base/Tasks.h"
#include "ui/onboarding/PermissionRow.h"
#include "ui/onboarding/StepHeading.h"
#include "ui/parts/MS.h"
#include "ui/parts/TextLabel.h"
#include "ui/windows/RestartHint.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

PermissionsStep::PermissionsStep(PermissionChecker &perms, QWidget *parent)
    : QWidget(parent)
    , m_perms(perms)
    , m_mic(new PermissionRow(u"mic.fill"_s, u"麦克风访问"_s, u"Microphone access"_s))
    , m_screen(new PermissionRow(u"rectangle.inset.filled.and.person.filled"_s,
                                 u"屏幕与系统音频录制"_s, u"Screen & System Audio"_s))
    , m_hint(new RestartHint(perms))
{
    setObjectName(u"permissionsStep"_s);
    m_mic->setObjectName(u"microphone"_s);
    m_screen->setObjectName(u"screen"_s);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    addStepHeading(*column, u"STEP 2 · PERMISSIONS"_s, u"授权以开始录音"_s);
    column->addSpacing(6);
    column->addWidget(new TextLabel(u"仅在主动发起时采集音频；未登录时不会上传任何内容。"_s,
                                    MS::system(12), MS::muted));
    column->addSpacing(18);
    column->addWidget(m_mic);
    column->addSpacing(10);
    column->addWidget(m_screen);
    column->addSpacing(14);
    column->addWidget(m_hint);
    column->addStretch();
    wire();
    refresh();
}

void PermissionsStep::wire()
{
    connect(m_mic, &PermissionRow::grantRequested, this,
            [this] { runDetached(m_perms.requestMic()); });
    connect(m_mic, &PermissionRow::openRequested, &m_perms, &PermissionChecker::openMicSettings);
    connect(m_screen, &PermissionRow::grantRequested, this,
            [this] { runDetached(m_perms.requestScreen()); });
    connect(m_screen, &PermissionRow::openRequested, &m_perms,
            &PermissionChecker::openScreenRecordingSettings);
    connect(&m_perms, &PermissionChecker::changed, this, &PermissionsStep::refresh);
}

void PermissionsStep::refresh()
{
    m_mic->setStatus(m_perms.mic(), false);
    m_screen->setStatus(m_perms.screen(), m_perms.screenNeedsRestart());
    m_hint->setVisible(m_perms.screenNeedsRestart());
}
