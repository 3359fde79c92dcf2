#include "tests/support/WindowStage.h"

#include "ui/parts/PlainButton.h"

#include <QLabel>
#include <QTemporaryFile>

using namespace Qt::StringLiterals;

namespace
{
const auto serviceOrigin = u"https://s.example"_s;

BundleInformation informationFrom(const QByteArray &content)
{
    QTemporaryFile file;
    if (!file.open() || file.write(content) != content.size() || !file.flush())
        qFatal("cannot write the information about the program");
    return BundleInformation::fromFile(file.fileName());
}

/// Nothing for a widget that says nothing by itself.
QString textOf(const QWidget &widget)
{
    if (const auto *const label = qobject_cast<const QLabel *>(&widget))
        return label->textFormat() == Qt::PlainText ? label->text() : label->accessibleName();
    const auto *const button = qobject_cast<const PlainButton *>(&widget);
    if (!button)
        return {};
    return (button->isEnabled() ? u"[%1]"_s : u"(%1)"_s).arg(button->title());
}
} // namespace

WindowStage::WindowStage(const QVariantMap &kept, bool isSignedIn, const QByteArray &bundle)
    : m_bundle(informationFrom(bundle))
{
    defaults.values = kept;
    prefs = std::make_unique<PrefsStore>(defaults, loginItem, home.path());
    if (isSignedIn)
        desktop.keepSession();
    auth = &desktop.start();
    updater =
        std::make_unique<UpdateChecker>(ServiceOrigin::parse(serviceOrigin), m_bundle,
                                        UpdateChecker::Dependencies{.http = desktop.http,
                                                                    .workspace = desktop.workspace,
                                                                    .clock = m_clock,
                                                                    .alert = m_alert});
}

void WindowStage::showOnboarding(const QString &origin)
{
    if (!m_onboarding) {
        m_onboarding = std::make_unique<OnboardingWindowController>(*auth, perms, *prefs,
                                                                    ServiceOrigin::parse(origin));
    }
    m_onboarding->showWindow();
    show(m_onboarding->window());
}

void WindowStage::showPreferences()
{
    if (!m_preferences) {
        m_preferences = std::make_unique<PreferencesWindowController>(
            *auth, perms, *updater, *prefs, m_bundle, desktop.workspace,
            ServiceOrigin::parse(serviceOrigin), chooser);
    }
    m_preferences->showWindow();
    show(m_preferences->window());
}

void WindowStage::show(QWidget &window)
{
    m_window = &window;
    if (!QTest::qWaitForWindowActive(m_window))
        qFatal("the window does not get the keyboard");
}

QStringList WindowStage::texts(const QString &path) const
{
    QStringList found;
    const QWidget &where = path.isEmpty() ? *m_window : find(path);
    for (const QWidget *const widget : where.findChildren<QWidget *>()) {
        const QString text = widget->isVisible() ? textOf(*widget) : QString();
        if (!text.isEmpty())
            found.append(text);
    }
    return found;
}

QStringList WindowStage::tabStops() const
{
    constexpr int most = 40;
    QStringList names;
    m_window->setFocus();
    QTest::keyClick(m_window, Qt::Key_Tab);
    const QWidget *const first = m_window->focusWidget();
    do {
        QWidget *const widget = m_window->focusWidget();
        if (widget->accessibleName().isEmpty() &&
            !qobject_cast<QAbstractButton *>(widget)->text().size())
            qFatal("%s has no name", qPrintable(widget->objectName()));
        names.append(widget->objectName());
        QTest::keyClick(widget, Qt::Key_Tab);
    } while (m_window->focusWidget() != first && names.size() < most);
    return names;
}

void WindowStage::setPermissions(const QString &mic, const QString &screen)
{
    if (mic != u"unknown")
        defaults.setBoolean(u"access.microphone"_s, mic == u"granted");
    if (screen == u"denied")
        desktop.script.failAt(u"capture targets"_s);
    if (screen != u"unknown")
        QCoro::waitFor(perms.requestScreen());
    perms.refresh();
    desktop.workspace.settingsPages.clear();
}

QStringList WindowStage::outside() const
{
    QStringList names;
    for (const QWidget *const widget : m_window->findChildren<QWidget *>()) {
        const QRect where(widget->mapTo(m_window, QPoint()), widget->size());
        if (widget->isVisible() && !m_window->rect().contains(where))
            names.append(widget->objectName());
    }
    return names;
}
