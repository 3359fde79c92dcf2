#include "ui/preferences/PreferencesWindowController.h"

#include "ui/preferences/PreferencesView.h"

using namespace Qt::StringLiterals;

PreferencesWindowController::PreferencesWindowController(AuthClient &auth, PermissionChecker &perms,
                                                         UpdateChecker &updater, PrefsStore &prefs,
                                                         const BundleInformation &bundle,
                                                         Workspace &workspace,
                                                         const ConfiguredOrigin &origin,
                                                         const FolderChooser &chooser)
    : m_window(u"偏好设置"_s,
               new PreferencesView({.auth = auth,
                                    .perms = perms,
                                    .updater = updater,
                                    .prefs = prefs,
                                    .bundle = bundle,
                                    .workspace = workspace,
                                    .origin = origin,
                                    .chooser = chooser}),
               Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint)
{
}
