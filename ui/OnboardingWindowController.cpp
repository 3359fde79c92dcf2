#include "ui/OnboardingWindowController.h"

#include "ui/OnboardingView.h"

using namespace Qt::StringLiterals;

OnboardingWindowController::OnboardingWindowController(AuthClient &auth, PermissionChecker &perms,
                                                       PrefsStore &prefs,
                                                       const ConfiguredOrigin &origin)
    : m_window(u"Parlovance"_s, {520, 400}, Qt::WindowCloseButtonHint)
{
    auto *const view = new OnboardingView(auth, perms, prefs, origin);
    QObject::connect(view, &OnboardingView::finished, &m_window, &QWidget::close);
    m_window.setContent(view);
}
