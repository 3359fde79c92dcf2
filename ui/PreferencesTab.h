#pragma once

#include <QString>

#include <array>

/// The panes of the preferences, in the order of the sidebar.
enum class PreferencesTab { general, recording, permissions, account, hotkey, about };

inline constexpr std::array preferencesTabs{PreferencesTab::general,     PreferencesTab::recording,
                                            PreferencesTab::permissions, PreferencesTab::account,
                                            PreferencesTab::hotkey,      PreferencesTab::about};

/// For the program, "general".
QString rawValue(PreferencesTab tab);

/// For the user.
QString label(PreferencesTab tab);

/// The name of its symbol.
QString symbolName(PreferencesTab tab);
