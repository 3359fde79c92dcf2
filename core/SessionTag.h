#pragma once

#include <QString>

#include <array>

/// What kind of session the user is about to record. Never stored.
enum class SessionTag { meeting, interview, notes, call };

inline constexpr std::array sessionTags{SessionTag::meeting, SessionTag::interview,
                                        SessionTag::notes, SessionTag::call};

/// Identifies the tag, and is what the user reads on its chip.
QString rawValue(SessionTag tag);
