#include "model/RepeatMode.h"

namespace halvenor {

QString rawValue(RepeatMode mode) {
    switch (mode) {
        case RepeatMode::off:
            return QStringLiteral("off");
        case RepeatMode::nextFolder:
            return QStringLiteral("nextFolder");
        case RepeatMode::all:
            return QStringLiteral("all");
    }
    Q_UNREACHABLE();
}

std::optional<RepeatMode> repeatModeFromRawValue(const QString& word) {
    for (const RepeatMode mode : allRepeatModes) {
        if (rawValue(mode) == word) {
            return mode;
        }
    }
    return std::nullopt;
}

QString iconName(RepeatMode mode) {
    return mode == RepeatMode::nextFolder ? QStringLiteral("arrow.right.to.line")
                                          : QStringLiteral("repeat");
}

QString helpText(RepeatMode mode) {
    switch (mode) {
        case RepeatMode::off:
            return QStringLiteral("Repeat Off");
        case RepeatMode::nextFolder:
            return QStringLiteral("Continue with Next Folder");
        case RepeatMode::all:
            return QStringLiteral("Repeat Folder");
    }
    Q_UNREACHABLE();
}

}  // namespace halvenor
