#include "ui/mainwindow/KeyMap.h"

#include <algorithm>
#include <array>

namespace halvenor {

namespace {

struct Binding {
    quint32 evdevCode;
    int key;
    WindowAction action;
};

constexpr quint32 scanCodeOffset = 8;

constexpr Binding settingsKey{68, Qt::Key_F10, WindowAction::showSettings};

constexpr std::array bindings = {
    Binding{35, Qt::Key_H, WindowAction::toggleHistory},
    Binding{34, Qt::Key_G, WindowAction::revealPlayingFile},
    Binding{46, Qt::Key_C, WindowAction::toggleCoverMode},
    Binding{38, Qt::Key_L, WindowAction::toggleFavorite},
    Binding{51, Qt::Key_Comma, WindowAction::playPrevious},
    Binding{50, Qt::Key_M, WindowAction::toggleMute},
    Binding{52, Qt::Key_Period, WindowAction::playNext},
    Binding{57, Qt::Key_Space, WindowAction::togglePlayPause},
};

}  // namespace

std::optional<WindowAction> windowAction(quint32 nativeScanCode, int key,
                                         Qt::KeyboardModifiers modifiers) {
    const auto isPressed = [&](const Binding& binding) {
        return nativeScanCode != 0 ? binding.evdevCode + scanCodeOffset == nativeScanCode
                                   : binding.key == key;
    };
    if (isPressed(settingsKey)) {
        return settingsKey.action;
    }
    if ((modifiers & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0) {
        return std::nullopt;
    }
    const auto* found = std::ranges::find_if(bindings, isPressed);
    return found != bindings.end() ? std::optional(found->action) : std::nullopt;
}

}  // namespace halvenor
