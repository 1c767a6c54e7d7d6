#include "state/AppTheme.h"

namespace halvenor {

QString rawValue(AppTheme theme) {
    switch (theme) {
        case AppTheme::halvenorDark:
            return QStringLiteral("Halvenor Dark");
        case AppTheme::systemDark:
            return QStringLiteral("System Dark");
        case AppTheme::systemLight:
            return QStringLiteral("System Light");
    }
    Q_UNREACHABLE();
}

std::optional<AppTheme> themeFromRawValue(const QString& word) {
    for (const AppTheme theme : allThemes) {
        if (rawValue(theme) == word) {
            return theme;
        }
    }
    return std::nullopt;
}

}  // namespace halvenor
