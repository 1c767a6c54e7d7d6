#pragma once

#include <string_view>

/// The keys of the settings file, in one place. docs/settings.md tells what each holds.
namespace halvenor::settingsKeys {

inline constexpr std::string_view libraryFolderPaths = "LibraryFolderPaths";
inline constexpr std::string_view libraryBookmarkMap = "LibraryFolderBookmarkMap";
inline constexpr std::string_view libraryBookmarks = "LibraryFolderBookmarks";
inline constexpr std::string_view lastOpenedFolderBookmark = "LastOpenedFolderBookmark";
inline constexpr std::string_view markedFolderPaths = "MarkedFolderPaths";
inline constexpr std::string_view showMarkedFoldersOnly = "ShowMarkedFoldersOnly";
inline constexpr std::string_view selectedTheme = "SelectedTheme";
inline constexpr std::string_view followOSTheme = "FollowOSTheme";
inline constexpr std::string_view showWaveform = "PlayerShowWaveform";
inline constexpr std::string_view useLiquidTitanWaveform = "PlayerUseLiquidTitanWaveform";
inline constexpr std::string_view lastTrackPath = "PlayerLastTrackPath";
inline constexpr std::string_view lastPosition = "PlayerLastPosition";
inline constexpr std::string_view volume = "PlayerVolume";
inline constexpr std::string_view isMuted = "PlayerIsMuted";
inline constexpr std::string_view repeatMode = "PlayerRepeatMode";
inline constexpr std::string_view isShuffleEnabled = "IsShuffleEnabled";

}  // namespace halvenor::settingsKeys
