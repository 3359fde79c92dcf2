#include "ui/preferences/PreferencesTab.h"

using namespace Qt::StringLiterals;

PreferencesTabFace faceOf(PreferencesTab tab)
{
    switch (tab) {
    case PreferencesTab::general:
        return {u"general"_s, u"通用"_s, u"gearshape"_s};
    case PreferencesTab::recording:
        return {u"recording"_s, u"录音"_s, u"mic.fill"_s};
    case PreferencesTab::permissions:
        return {u"permissions"_s, u"权限"_s, u"lock.shield"_s};
    case PreferencesTab::account:
        return {u"account"_s, u"账号"_s, u"person.crop.circle"_s};
    case PreferencesTab::hotkey:
        return {u"hotkey"_s, u"快捷键"_s, u"keyboard"_s};
    case PreferencesTab::about:
        return {u"about"_s, u"关于"_s, u"info.circle"_s};
    }
    Q_UNREACHABLE();
}
