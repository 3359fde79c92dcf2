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

namespace
{
constexpr int sidebarWidth = 160;
constexpr PreferencesTab firstTab = PreferencesTab::recording;

QWidget *makePane(PreferencesTab tab, const PreferencesView::Surroundings &surroundings)
{
    switch (tab) {
    case PreferencesTab::general:
        return new GeneralPane(surroundings.prefs);
    case PreferencesTab::recording:
        return new RecordingPane(surroundings.prefs, surroundings.chooser);
    case PreferencesTab::permissions:
        return new PermissionsPane(surroundings.perms);
    case PreferencesTab::account:
        return new AccountPane(surroundings.auth);
    case PreferencesTab::hotkey:
        return new HotkeyPane;
    case PreferencesTab::about:
        return new AboutPane(surroundings.updater, surroundings.workspace, surroundings.bundle,
                             surroundings.origin);
    }
    Q_UNREACHABLE();
}
} // namespace

PreferencesView::PreferencesView(const Surroundings &surroundings, QWidget *parent)
    : QWidget(parent)
    , m_scroll(new StyledScrollView)
{
    setFixedSize(560, 440);
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(1); // for the divider
    row->addWidget(makeSidebar());
    row->addWidget(m_scroll, 1);
    m_scroll->setWidget(makePanes(surroundings));
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

QWidget *PreferencesView::makePanes(const Surroundings &surroundings)
{
    auto *const panes = new QWidget;
    auto *const column = new QVBoxLayout(panes);
    column->setContentsMargins(0, 8, 0, 8);
    column->setSpacing(0);
    for (const PreferencesTab tab : preferencesTabs) {
        QWidget *const pane = makePane(tab, surroundings);
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
