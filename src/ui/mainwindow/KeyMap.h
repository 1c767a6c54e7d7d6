#pragma once

#include <Qt>
#include <QtGlobal>

#include <optional>

namespace halvenor {

/// What a bare key does in the main window.
enum class WindowAction {
    showSettings,
    toggleHistory,
    toggleCoverMode,
    revealPlayingFile,
    toggleFavorite,
    playPrevious,
    toggleMute,
    playNext,
    togglePlayPause,
};

/// The action of a key press, absent where the key has its usual meaning. Pure.
///
/// Keys are places on the keyboard: on a layout with other letters the key in the same place acts.
/// Shift and Caps Lock do not matter; with Control, Alt or Meta the key is somebody else's, but for
/// F10, which acts whatever is held.
/// @param nativeScanCode as X11 counts, the evdev code plus 8; 0 if unknown, and then `key` decides
/// @param key a Qt::Key
std::optional<WindowAction> windowAction(quint32 nativeScanCode, int key,
                                         Qt::KeyboardModifiers modifiers);

}  // namespace halvenor
