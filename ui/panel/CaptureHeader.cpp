#include "ui/panel/CaptureHeader.h"

#include "core/AppState.h"
#include "ui/panel/RecordingLook.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/StatusDot.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr double glowOpacity = 0.6;

ButtonFace minimiseFace()
{
    return {.outline = MS::border,
            .radius = 5.0,
            .symbol = u"arrow.down.right.and.arrow.up.left"_s,
            .symbolPoints = 10.0,
            .symbolColor = MS::muted};
}
} // namespace

CaptureHeader::CaptureHeader(AppState &app, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
    , m_heading(new SectionLabel(u"● CAPTURE"_s, MS::faint, this))
    , m_dot(new StatusDot(6, this))
    , m_word(new TextLabel({}, MS::monospaced(10.5, QFont::Medium), MS::moss, this))
{
    m_heading->setObjectName(u"captureHeading"_s);
    m_dot->setObjectName(u"pillDot"_s);
    m_word->setObjectName(u"pill"_s);
    auto *const minimise = new PlainButton(minimiseFace(), {}, this);
    minimise->setObjectName(u"minimise"_s);
    minimise->setAccessibleName(u"最小化"_s);
    minimise->setFixedSize(22, 22);
    connect(minimise, &QAbstractButton::clicked, this, &CaptureHeader::minimiseRequested);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_heading);
    row->addStretch();
    row->addWidget(m_dot);
    row->addSpacing(6 - StatusDot::glowRadius);
    row->addWidget(m_word);
    row->addSpacing(10);
    row->addWidget(minimise);

    connect(&m_app, &AppState::stateChanged, this, &CaptureHeader::refresh);
    refresh();
}

void CaptureHeader::refresh()
{
    const RecordingState state = m_app.state();
    const auto show = [this](const QString &word, const QColor &color) {
        m_word->setText(word);
        m_word->setColor(color);
        m_dot->setColors(color, MS::faded(color, glowOpacity));
    };
    m_heading->setColor(isLive(state) ? MS::ember : MS::faint);
    if (isStopping(state))
        show(u"处理中"_s, MS::amber);
    else if (isLive(state))
        show(u"LIVE"_s, MS::ember);
    else
        show(u"READY"_s, MS::moss);
}
