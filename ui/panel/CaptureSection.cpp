#include "ui/panel/CaptureSection.h"

#include "ui/panel/CaptureHeader.h"
#include "ui/panel/ErrorStrip.h"
#include "ui/panel/LiveBlock.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
ButtonFace pickerFace()
{
    return {.font = MS::system(11),
            .textColor = MS::textDim,
            .outline = MS::border,
            .radius = 8.0,
            .padding = QMargins(10, 6, 10, 6),
            .symbol = u"chevron.down"_s,
            .symbolPoints = 9.0,
            .symbolColor = MS::muted,
            .symbolTrails = true};
}
} // namespace

CaptureSection::CaptureSection(AppState &app, QWidget *parent)
    : QWidget(parent)
{
    // Made in the order of Tab.
    auto *const strip = new ErrorStrip(app, this);
    auto *const header = new CaptureHeader(app, this);
    connect(header, &CaptureHeader::minimiseRequested, this, &CaptureSection::minimiseRequested);
    auto *const live = new LiveBlock(app, this);
    auto *const picker = new PlainButton(pickerFace(), u"当前整机音频"_s, this);
    picker->setObjectName(u"sourcePicker"_s);
    picker->setCaption(u"正在捕获："_s, MS::muted);
    picker->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(18, 10, 18, 10);
    column->setSpacing(6);
    column->addWidget(strip);
    column->addWidget(header);
    column->addWidget(live);
    column->addWidget(picker);
}
