#pragma once

#include <QString>

#include <array>
#include <optional>

namespace halvenor {

/// The three looks of the program.
enum class AppTheme { halvenorDark, systemDark, systemLight };

inline constexpr std::array allThemes = {AppTheme::halvenorDark, AppTheme::systemDark,
                                         AppTheme::systemLight};

/// The word that settings hold, which is also the name to show: "Halvenor Dark", "System Dark",
/// "System Light".
QString rawValue(AppTheme theme);
/// Absent for any other word.
std::optional<AppTheme> themeFromRawValue(const QString& word);

}  // namespace halvenor
