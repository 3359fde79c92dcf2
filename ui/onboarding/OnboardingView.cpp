#include "ui/onboarding/OnboardingView.h"

#include "cloud/AuthClient.h"
#include "settings/PrefsStore.h"
#include "ui/onboarding/OnboardingFooter.h"
#include "ui/onboarding/PermissionsStep.h"
#include "ui/onboarding/SignInStep.h"
#include "ui/onboarding/SignInWaitStep.h"
#include "ui/onboarding/WelcomeStep.h"

#include <QShowEvent>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
constexpr std::chrono::milliseconds pollInterval{250};
constexpr int pollRounds = 12;
} // namespace

OnboardingView::OnboardingView(AuthClient &auth, PermissionChecker &perms, PrefsStore &prefs,
                               const ConfiguredOrigin &origin, QWidget *parent)
    : QWidget(parent)
    , m_auth(auth)
    , m_perms(perms)
    , m_prefs(prefs)
    , m_seenPermissions(permissions())
    , m_wasSignedIn(auth.isLoggedIn())
    , m_pages(new QStackedWidget)
    , m_footer(new OnboardingFooter)
{
    setFixedSize(520, 400);
    m_polling.setInterval(pollInterval);
    build(origin);
    wire();
    refresh();
}

void OnboardingView::build(const ConfiguredOrigin &origin)
{
    auto *const signIn = new SignInStep(m_auth);
    auto *const wait = new SignInWaitStep(m_auth, origin);
    connect(signIn, &SignInStep::signInRequested, this, &OnboardingView::beginSignIn);
    connect(wait, &SignInWaitStep::cancelled, this, [this] { setWaiting(false); });
    m_pages->addWidget(new WelcomeStep);
    m_pages->addWidget(new PermissionsStep(m_perms));
    m_pages->addWidget(signIn);
    m_pages->addWidget(wait);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(40, 36, 40, 28);
    column->setSpacing(16);
    column->addWidget(m_pages, 1);
    column->addWidget(m_footer);
}

void OnboardingView::wire()
{
    connect(m_footer, &OnboardingFooter::primaryPressed, this, &OnboardingView::handlePrimary);
    connect(m_footer, &OnboardingFooter::backPressed, this, [this] {
        m_waitingForAuth = false;
        setStep(m_step - 1);
    });
    connect(&m_polling, &QTimer::timeout, this, &OnboardingView::poll);
    connect(&m_perms, &PermissionChecker::changed, this, &OnboardingView::followPermissions);
    connect(&m_auth, &AuthClient::changed, this, &OnboardingView::followSession);
}

OnboardingView::Primary OnboardingView::primary() const
{
    const bool hasMic = m_perms.mic() == PermissionStatus::granted;
    const bool hasScreen = m_perms.screen() == PermissionStatus::granted;
    switch (m_step) {
    case 1:
        return {.label = u"开始设置 →"_s};
    case 2:
        return {.label = m_perms.screenNeedsRestart() && !hasMic ? u"重启后继续"_s : u"继续 →"_s,
                .isDisabled = !hasMic && !hasScreen};
    default:
        return {.label = u"完成 →"_s, .isDisabled = isWaitingShown()};
    }
}

void OnboardingView::handlePrimary()
{
    if (m_step < 3) {
        setStep(m_step + 1);
        return;
    }
    m_prefs.setHasCompletedOnboarding(true);
    Q_EMIT finished();
}

void OnboardingView::beginSignIn()
{
    m_auth.beginLogin();
    setWaiting(true);
}

void OnboardingView::setStep(int step)
{
    m_step = step;
    if (m_step != 1)
        m_polling.stop();
    refresh();
}

void OnboardingView::setWaiting(bool isWaiting)
{
    m_waitingForAuth = isWaiting;
    refresh();
}

bool OnboardingView::isWaitingShown() const
{
    return m_waitingForAuth && !m_auth.isLoggedIn();
}

OnboardingView::Permissions OnboardingView::permissions() const
{
    return {m_perms.mic(), m_perms.screen()};
}

// Announced also when nothing is different: who went back to the welcome stays there.
void OnboardingView::followPermissions()
{
    if (std::exchange(m_seenPermissions, permissions()) != permissions())
        autoAdvanceFromStep1IfReady();
    refresh();
}

void OnboardingView::followSession()
{
    const bool hasSignedIn = m_auth.isLoggedIn() && !m_wasSignedIn;
    m_wasSignedIn = m_auth.isLoggedIn();
    if (hasSignedIn)
        m_waitingForAuth = false;
    refresh();
}

// A user who has answered a request for a permission before needs no welcome.
void OnboardingView::autoAdvanceFromStep1IfReady()
{
    const bool isReady = std::ranges::any_of(
        permissions(), [](PermissionStatus status) { return status != PermissionStatus::unknown; });
    if (m_step == 1 && isReady)
        setStep(2);
}

void OnboardingView::showEvent(QShowEvent *event)
{
    if (event->spontaneous())
        return; // only back from being minimised
    m_perms.refresh();
    autoAdvanceFromStep1IfReady();
    m_roundsLeft = pollRounds;
    if (m_step == 1)
        m_polling.start();
}

void OnboardingView::hideEvent(QHideEvent *)
{
    m_polling.stop();
}

void OnboardingView::poll()
{
    if (--m_roundsLeft == 0)
        m_polling.stop();
    m_perms.refresh();
}

void OnboardingView::refresh()
{
    m_pages->setCurrentIndex(m_step == 3 && isWaitingShown() ? 3 : m_step - 1);
    m_footer->setStep(m_step, m_step == 3 && m_waitingForAuth);
    const Primary button = primary();
    m_footer->setPrimary(button.label, button.isDisabled);
}
