#include "ui/PreferencesTab.h"

using namespace Qt::StringLiterals;

QString rawValue(PreferencesTab tab)
{
    switch (tab) {
    case PreferencesTab::general:
        return u"general"_s;
    case PreferencesTab::recording:
        return u"recording"_s;
    case PreferencesTab::permissions:
        return u"permissions"_s;
    case PreferencesTab::account:
        return u"account"_s;
    case PreferencesTab::hotkey:
        return u"hotkey"_s;
    case PreferencesTab::about:
        return u"about"_s;
    }
    Q_UNREACHABLE();
}

QString label(PreferencesTab tab)
{
    switch (tab) {
    case PreferencesTab::general:
        return u"通用"_s;
    case PreferencesTab::recording:
        return u"录音"_s;
    case PreferencesTab::permissions:
        return u"权限"_s;
    case PreferencesTab::account:
        return u"账号"_s;
    case PreferencesTab::hotkey:
        return u"快捷键"_s;
    case PreferencesTab::about:
        return u"关于"_s;
    }
    Q_UNREACHABLE();
}

QString symbolName(PreferencesTab tab)
{
    switch (tab) {
    case PreferencesTab::general:
        return u"gearshape"_s;
    case PreferencesTab::recording:
        return u"mic.fill"_s;
    case PreferencesTab::permissions:
        return u"lock.shield"_s;
    case PreferencesTab::account:
        return u"person.crop.circle"_s;
    case PreferencesTab::hotkey:
        return u"keyboard"_s;
    case PreferencesTab::about:
        return u"info.circle"_s;
    }
    Q_UNREACHABLE();
}
