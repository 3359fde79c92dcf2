#pragma once

#include <QString>

#include <array>

/// The panes of the preferences, in the order of the sidebar.
enum class PreferencesTab { general, recording, permissions, account, hotkey, about };

inline constexpr std::array preferencesTabs{PreferencesTab::general,     PreferencesTab::recording,
                                            PreferencesTab::permissions, PreferencesTab::account,
                                            PreferencesTab::hotkey,      PreferencesTab::about};

struct PreferencesTabFace {
    QString rawValue;   ///< for the program, "general"
    QString label;      ///< for the user
    QString symbolName; ///< of its symbol
};

PreferencesTabFace faceOf(PreferencesTab tab);
