#include "ui/preferences/PreferencesView.h"

#include "ui/parts/MS.h"
#include "ui/parts/StyledScrollView.h"
#include "ui/preferences/AboutPane.h"
#include "ui/preferences/AccountPane.h"
#include "ui/preferences/GeneralPane.h"
#include "ui/preferences/HotkeyPane.h"
#include "ui/preferences/PermissionsPane.h"
#include "ui/preferences/RecordingPane.h"
#include "ui/preferences/SidebarButton.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

PreferencesTabFace faceOf(PreferencesTab tab)
{
    switch (tab) {
    case PreferencesTab::general:
        return {u"general"_s, u"通用"_s, u"gearshape"_s};
    case PreferencesTab::recording:
        return {u"recording"_s, u"录音"_s, u"mic.fill"_s};
    case PreferencesTab::permissions:
        return {u"permissions"_s, u"权限"_s, u"lock.shield"_s};
    case PreferencesTab::account:
        return {u"account"_s, u"账号"_s, u"person.crop.circle"_s};
    case PreferencesTab::hotkey:
        return {u"hotkey"_s, u"快捷键"_s, u"keyboard"_s};
    case PreferencesTab::about:
        return {u"about"_s, u"关于"_s, u"info.circle"_s};
    }
    Q_UNREACHABLE();
}

namespace
{
constexpr int sidebarWidth = 160;
constexpr PreferencesTab firstTab = PreferencesTab::recording;

QWidget *makePane(PreferencesTab tab, const PreferencesView::Dependencies &dependencies)
{
    switch (tab) {
    case PreferencesTab::general:
        return new GeneralPane(dependencies.prefs);
    case PreferencesTab::recording:
        return new RecordingPane(dependencies.prefs, dependencies.chooser);
    case PreferencesTab::permissions:
        return new PermissionsPane(dependencies.perms);
    case PreferencesTab::account:
        return new AccountPane(dependencies.auth);
    case PreferencesTab::hotkey:
        return new HotkeyPane;
    case PreferencesTab::about:
        return new AboutPane(dependencies.updater, dependencies.workspace, dependencies.bundle,
                             dependencies.origin);
    }
    Q_UNREACHABLE();
}
} // namespace

PreferencesView::PreferencesView(const Dependencies &dependencies, QWidget *parent)
    : QWidget(parent)
    , m_scroll(new StyledScrollView)
{
    setFixedSize(560, 440);
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(1); // for the divider
    row->addWidget(makeSidebar());
    row->addWidget(m_scroll, 1);
    m_scroll->setWidget(makePanes(dependencies));
    setTab(firstTab);
}

QWidget *PreferencesView::makeSidebar()
{
    auto *const sidebar = new QWidget;
    sidebar->setFixedWidth(sidebarWidth);
    auto *const column = new QVBoxLayout(sidebar);
    column->setContentsMargins(10, 16, 10, 16);
    column->setSpacing(2);
    for (const PreferencesTab tab : preferencesTabs) {
        const PreferencesTabFace face = faceOf(tab);
        auto *const button = new SidebarButton(face.symbolName, face.label);
        button->setObjectName(u"tab "_s + face.rawValue);
        button->setChecked(tab == firstTab);
        connect(button, &QAbstractButton::clicked, this, [this, tab] { setTab(tab); });
        column->addWidget(button);
    }
    column->addStretch();
    return sidebar;
}

QWidget *PreferencesView::makePanes(const Dependencies &dependencies)
{
    auto *const panes = new QWidget;
    auto *const column = new QVBoxLayout(panes);
    column->setContentsMargins(0, 8, 0, 8);
    column->setSpacing(0);
    for (const PreferencesTab tab : preferencesTabs) {
        QWidget *const pane = makePane(tab, dependencies);
        pane->setObjectName(u"pane "_s + faceOf(tab).rawValue);
        m_panes[tab] = pane;
        column->addWidget(pane);
    }
    column->addStretch();
    return panes;
}

void PreferencesView::setTab(PreferencesTab tab)
{
    for (const auto &[other, pane] : m_panes)
        pane->setVisible(other == tab);
    m_scroll->verticalScrollBar()->setValue(0);
}

void PreferencesView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(sidebarWidth, 0, 1, height(), MS::border);
}
