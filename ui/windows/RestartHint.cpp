#include "ui/windows/RestartHint.h"

#include "audio/PermissionChecker.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

RestartHint::RestartHint(PermissionChecker &perms, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"restartHint"_s);
    auto *const text =
        new TextLabel(u"如果你已经在系统设置里勾选 Parlovance，请重启 App 让权限生效。"_s,
                      MS::system(11), MS::muted);
    text->setMaximumLines(3);
    auto *const restart =
        new PlainButton(amberFace(11, QMargins(10, 4, 10, 4)), u"重启 Parlovance"_s);
    restart->setObjectName(u"restart"_s);
    connect(restart, &QAbstractButton::clicked, &perms, &PermissionChecker::restartApp);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(new SymbolLabel(u"info.circle.fill"_s, 12, MS::amber));
    row->addWidget(text, 1);
    row->addWidget(restart);
}
