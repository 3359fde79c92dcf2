#include "ui/panel/SessionSection.h"

#include "core/AppState.h"
#include "ui/panel/TitleField.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr int chipHeight = 24;

ButtonFace chipFace(bool isSelected)
{
    return {.font = MS::system(11),
            .textColor = isSelected ? MS::amber : MS::muted,
            .fill = isSelected ? MS::amberDim : QColor(Qt::transparent),
            .outline = isSelected ? MS::borderAmber : MS::border,
            .radius = chipHeight / 2.0,
            .padding = QMargins(11, 0, 11, 0)};
}
} // namespace

SessionSection::SessionSection(AppState &app, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(18, 14, 18, 14);
    column->setSpacing(8);
    column->addWidget(new SectionLabel(u"CURRENT SESSION"_s, MS::faint, this));
    column->addWidget(new TitleField(app, this));
    auto *const chips = new QHBoxLayout;
    column->addLayout(chips);
    chips->setSpacing(6);
    std::ranges::transform(sessionTags, m_chips.begin(),
                           [this](SessionTag tag) { return makeChip(tag); });
    for (PlainButton *const chip : m_chips)
        chips->addWidget(chip);
    chips->addStretch();

    connect(&m_app, &AppState::sessionChanged, this, &SessionSection::refresh);
    refresh();
}

PlainButton *SessionSection::makeChip(SessionTag tag)
{
    auto *const chip = new PlainButton(chipFace(false), rawValue(tag), this);
    chip->setObjectName(u"tag"_s + rawValue(tag));
    chip->setCheckable(true);
    chip->setFixedHeight(chipHeight);
    connect(chip, &QAbstractButton::clicked, this, [this, tag] { toggle(tag); });
    return chip;
}

void SessionSection::toggle(SessionTag tag)
{
    m_app.setSelectedTag(m_app.selectedTag() == tag ? std::nullopt : std::optional(tag));
}

void SessionSection::refresh()
{
    for (std::size_t i = 0; i < sessionTags.size(); ++i) {
        const bool isSelected = m_app.selectedTag() == sessionTags.at(i);
        m_chips.at(i)->setFace(chipFace(isSelected));
        m_chips.at(i)->setChecked(isSelected);
    }
}
