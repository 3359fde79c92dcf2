#pragma once

#include <QString>

#include <algorithm>
#include <array>
#include <optional>

/// The case among \p cases whose rawValue() is \p text; none where no case has it. Upper and lower
/// case differ.
template<class Case, std::size_t count>
std::optional<Case> caseWithRawValue(const std::array<Case, count> &cases, const QString &text)
{
    const auto found =
        std::ranges::find(cases, text, [](Case candidate) { return rawValue(candidate); });
    return found == cases.end() ? std::nullopt : std::optional(*found);
}
