#include "ui/onboarding/OnboardingWindowController.h"

#include "ui/onboarding/OnboardingView.h"

using namespace Qt::StringLiterals;

OnboardingWindowController::OnboardingWindowController(AuthClient &auth, PermissionChecker &perms,
                                                       PrefsStore &prefs,
                                                       const ConfiguredOrigin &origin)
    : m_view(new OnboardingView(auth, perms, prefs, origin))
    , m_window(u"Parlovance"_s, m_view, Qt::WindowCloseButtonHint)
{
    QObject::connect(m_view, &OnboardingView::finished, &m_window, &QWidget::close);
}
