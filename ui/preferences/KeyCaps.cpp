#include "ui/preferences/KeyCaps.h"

#include "ui/parts/MS.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>

namespace
{
constexpr int leastWidth = 18;

QWidget *makeCap(const QString &key)
{
    auto *const cap = new RoundedBox(MS::raised, MS::border, 4);
    cap->setMinimumWidth(leastWidth);
    cap->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *const label = new TextLabel(key, MS::monospaced(11.5), MS::text);
    label->setAlignment(Qt::AlignCenter);
    auto *const row = new QHBoxLayout(cap);
    row->setContentsMargins(7, 2, 7, 2);
    row->addWidget(label);
    return cap;
}
} // namespace

KeyCaps::KeyCaps(const QStringList &keys, QWidget *parent)
    : QWidget(parent)
{
    setAccessibleName(keys.join(QString()));
    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    for (const QString &key : keys)
        row->addWidget(makeCap(key));
    row->addStretch();
}
