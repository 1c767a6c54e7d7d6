#pragma once

#include <QString>

#include <array>
#include <optional>

namespace halvenor {

/// What happens at the end of the list that plays.
enum class RepeatMode {
    off,         ///< Stop.
    nextFolder,  ///< Go on into the next folder that holds music.
    all,         ///< Begin the list again.
};

inline constexpr std::array allRepeatModes = {RepeatMode::off, RepeatMode::nextFolder,
                                              RepeatMode::all};

/// The word that settings hold: "off", "nextFolder", "all".
QString rawValue(RepeatMode mode);
/// Absent for any other word.
std::optional<RepeatMode> repeatModeFromRawValue(const QString& word);
/// The symbol of the repeat button. `off` and `all` share one: a tint tells them apart.
QString iconName(RepeatMode mode);
/// The repeat button's tooltip.
QString helpText(RepeatMode mode);

}  // namespace halvenor
