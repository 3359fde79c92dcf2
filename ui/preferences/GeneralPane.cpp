#include "ui/preferences/GeneralPane.h"

#include "settings/PrefsStore.h"
#include "ui/parts/MSSwitch.h"
#include "ui/preferences/PrefRow.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

GeneralPane::GeneralPane(PrefsStore &prefs, QWidget *parent)
    : QWidget(parent)
{
    auto *const launch = new MSSwitch;
    launch->setObjectName(u"launchAtLogin"_s);
    launch->setAccessibleName(u"开机自启动"_s);
    connect(launch, &QAbstractButton::clicked, &prefs, &PrefsStore::setLaunchAtLogin);
    const auto refresh = [launch, &prefs] { launch->setChecked(prefs.launchAtLogin()); };
    connect(&prefs, &PrefsStore::changed, launch, refresh);
    refresh();

    auto *const content = new QWidget;
    auto *const row = new QHBoxLayout(content);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(launch);
    row->addStretch();
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(new PrefRow(u"开机自启动"_s, u"登录时启动 Parlovance"_s, content));
}
