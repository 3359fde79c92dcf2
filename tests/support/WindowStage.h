#pragma once

#include "audio/PermissionChecker.h"
#include "cloud/UpdateAlert.h"
#include "cloud/UpdateChecker.h"
#include "platform/linux/desktop/RememberedAccess.h"
#include "settings/PrefsStore.h"
#include "tests/support/AuthDesktop.h"
#include "tests/support/FakeCapture.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/FakeMicrophones.h"
#include "ui/onboarding/OnboardingWindowController.h"
#include "ui/preferences/PreferencesWindowController.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// The windows over real state objects; what these stand on is scripted. The service is not there
/// unless desktop.http has an answer.
class WindowStage
{
public:
    /// \p kept is what the settings hold at start; \p bundle the content of the file about the
    /// installed program.
    explicit WindowStage(const QVariantMap &kept = {}, bool isSignedIn = false,
                         const QByteArray &bundle = "{}");

    /// Shows the window, which is made then. Again: brings it to the front.
    void showOnboarding(const QString &origin = QStringLiteral("https://s.example"));
    void showPreferences();

    QWidget &window() const { return *m_window; }

    /// The control of this name, which must be there; "microphone/grant" is one within another.
    template<class Widget = QWidget>
    Widget &find(const QString &path) const
    {
        QWidget *found = m_window;
        for (const QString &name : path.split(u'/')) {
            found = found->findChild<QWidget *>(name);
            if (!found)
                qFatal("the window has no %s", qPrintable(path));
        }
        return dynamic_cast<Widget &>(*found);
    }

    /// A click of the left button in the middle of the control.
    void click(const QString &path) const { QTest::mouseClick(&find(path), Qt::LeftButton); }

    bool isShown(const QString &path) const { return find(path).isVisible(); }

    /// What can be read in the control, or in the whole window: texts, and buttons in brackets, in
    /// round ones where they cannot be pressed.
    QStringList texts(const QString &path = {}) const;

    /// The names of the controls at which Tab stops, from the first one on. Each must have a name
    /// for a screen reader.
    QStringList tabStops() const;

    /// Brings both to "granted", "denied" or "unknown"; a machine whose sound may not be recorded
    /// was asked for.
    void setPermissions(const QString &mic, const QString &screen);

    /// The names of the controls that are not wholly within the window.
    QStringList outside() const;

    QTemporaryDir home;
    FakeDefaults defaults;
    FakeLoginItem loginItem;
    AuthDesktop desktop;
    FakeMicrophones microphones{desktop.script};
    FakeCaptureService capture{desktop.script};
    RememberedAccess access{defaults, microphones, capture};
    PermissionChecker perms{access, desktop.workspace, std::chrono::hours(1)};
    std::unique_ptr<PrefsStore> prefs;
    std::unique_ptr<UpdateChecker> updater;
    AuthClient *auth = nullptr;
    FolderChooser chooser = &chooseFolder;

private:
    class NoAlert : public UpdateAlert
    {
        QCoro::Task<int> present(QString, QString, QStringList) override { co_return 1; }
    };

    void show(QWidget &window);

    NoAlert m_alert;
    FakeClock m_clock;
    BundleInformation m_bundle;
    std::unique_ptr<OnboardingWindowController> m_onboarding;
    std::unique_ptr<PreferencesWindowController> m_preferences;
    QWidget *m_window = nullptr;
};
