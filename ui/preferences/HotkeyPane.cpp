#include "ui/preferences/HotkeyPane.h"

#include "ui/parts/MS.h"
#include "ui/parts/TextLabel.h"
#include "ui/preferences/KeyCaps.h"
#include "ui/preferences/PrefRow.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{
struct Hotkey {
    QString title;
    QStringList keys;
};

QList<Hotkey> hotkeys()
{
    return {{u"开始 / 停止录音"_s, {u"⌃"_s, u"⌥"_s, u"R"_s}},
            {u"暂停"_s, {u"⌃"_s, u"⌥"_s, u"P"_s}},
            {u"打开主面板"_s, {u"⌃"_s, u"⌥"_s, u"M"_s}},
            {u"快速命名会议"_s, {u"⌃"_s, u"⌥"_s, u"N"_s}}};
}
} // namespace

HotkeyPane::HotkeyPane(QWidget *parent)
    : QWidget(parent)
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (const Hotkey &hotkey : hotkeys())
        column->addWidget(new PrefRow(hotkey.title, {}, new KeyCaps(hotkey.keys)));
    auto *const note =
        makeNote(u"全局自定义快捷键即将推出；当前快捷键仅在菜单打开时生效。"_s, MS::muted);
    note->setContentsMargins(20, 12, 20, 12);
    column->addWidget(note);
}
