#include "ui/panel/RecentSection.h"

#include "core/AppState.h"
#include "ui/panel/RecentList.h"
#include "ui/parts/MS.h"
#include "ui/parts/SymbolTile.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr int leastHeight = 110; // a whole row is in view

TextLabel *centredLine(const QString &text, const QFont &font, const QColor &color)
{
    auto *const line = new TextLabel(text, font, color);
    line->setAlignment(Qt::AlignCenter);
    return line;
}
} // namespace

RecentSection::RecentSection(AppState &app, Workspace &workspace, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
    , m_emptyState(makeEmptyState())
    , m_list(new RecentList(app, workspace, this))
{
    setObjectName(u"recentSection"_s);
    auto *const heading = new QHBoxLayout;
    heading->setContentsMargins(18, 0, 18, 0);
    heading->addWidget(new SectionLabel(u"RECENT"_s, MS::faint));
    auto *const rows = new QHBoxLayout; // the texts of the rows are in line with the heading
    rows->setContentsMargins(10, 0, 0, 0);
    rows->addWidget(m_list);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 12, 0, 10);
    column->setSpacing(6);
    column->addLayout(heading);
    column->addWidget(m_emptyState, 1);
    column->addLayout(rows, 1);

    connect(&m_app, &AppState::recentsChanged, this, &RecentSection::refresh);
    refresh();
}

QWidget *RecentSection::makeEmptyState()
{
    auto *const state = new QWidget(this);
    state->setObjectName(u"emptyState"_s);
    auto *const column = new QVBoxLayout(state);
    column->setContentsMargins(18, 0, 18, 0);
    column->setSpacing(2);
    column->addStretch();
    column->addWidget(new SymbolTile(u"waveform"_s, state), 0, Qt::AlignHCenter);
    column->addSpacing(4);
    column->addWidget(centredLine(u"还没有录音"_s, MS::system(12), MS::textDim));
    column->addWidget(centredLine(u"按 ⌃⌥R 或点击上方按钮开始"_s, MS::system(10.5), MS::faint));
    column->addStretch();
    return state;
}

void RecentSection::refresh()
{
    const bool isEmpty = m_app.recents().isEmpty();
    m_emptyState->setVisible(isEmpty);
    m_list->setVisible(!isEmpty);
    setMinimumHeight(isEmpty ? 0 : leastHeight); // the texts need theirs, the list can scroll
}
