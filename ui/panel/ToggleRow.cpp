#include "ui/panel/ToggleRow.h"

#include "ui/panel/LevelMeter.h"
#include "ui/parts/MS.h"
#include "ui/parts/MSSwitch.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
constexpr double radius = 8.0;
constexpr int meterBars = 12;
} // namespace

ToggleRow::ToggleRow(const QString &icon, const QString &label, const QString &sub, QWidget *parent)
    : QWidget(parent)
    , m_iconName(icon)
    , m_icon(new SymbolLabel(icon, 14, MS::amber, this))
    , m_meter(new LevelMeter(meterBars, this))
    , m_switch(new MSSwitch(this))
{
    m_switch->setObjectName(u"switch"_s);
    m_switch->setAccessibleName(label);
    connect(m_switch, &QAbstractButton::clicked, this, &ToggleRow::switched);

    auto *const texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(new TextLabel(label, MS::system(12.5), MS::text));
    texts->addWidget(new TextLabel(sub, MS::system(10), MS::faint));
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(10, 8, 10, 8);
    row->setSpacing(10);
    row->addWidget(m_icon);
    row->addLayout(texts, 1);
    row->addWidget(m_meter);
    row->addWidget(m_switch);
}

void ToggleRow::setOn(bool isOn)
{
    m_switch->setChecked(isOn);
    m_icon->setSymbol(m_iconName, isOn ? MS::amber : MS::muted);
    m_meter->setGround(isOn ? MS::bg : MS::bg2);
    update();
}

void ToggleRow::setCapturing(bool isCapturing)
{
    m_meter->setActive(isCapturing);
}

void ToggleRow::setLevel(double level)
{
    m_meter->setLevel(level);
}

void ToggleRow::paintEvent(QPaintEvent *)
{
    if (!m_switch->isChecked())
        return;
    QPainter painter(this);
    paintBox(painter, rect(), radius, MS::bg, MS::border);
}
