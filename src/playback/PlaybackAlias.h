#pragma once

#include "base/FileUrl.h"

namespace halvenor {

/// A second name for a file, ending in ".m4a": a symbolic link in the temporary folder.
///
/// A reader may judge a file by its name and refuse an MP4 that is called something else; under
/// this name it gets a second chance. The link lives as long as the object. It is needed only while
/// the file is being opened, so that nothing breaks when somebody takes it away earlier.
class PlaybackAlias {
  public:
    /// Makes a link to `target`, and the folder for it where that is missing.
    /// @throws Error (io)
    explicit PlaybackAlias(const FileUrl& target);
    PlaybackAlias(PlaybackAlias&& other) noexcept;
    PlaybackAlias& operator=(PlaybackAlias&& other) noexcept;
    PlaybackAlias(const PlaybackAlias&) = delete;
    PlaybackAlias& operator=(const PlaybackAlias&) = delete;
    /// Takes the link away; a failure is ignored. The folder stays.
    ~PlaybackAlias();

    const FileUrl& url() const { return url_; }

    /// Where the links are: "HalvenorPlaybackAliases" in the temporary folder.
    static FileUrl directory();
    /// Removes the links that an earlier run left behind when it was cut short. Anything else in
    /// the folder stays.
    static void removeLeftovers();

  private:
    FileUrl url_;
};

}  // namespace halvenor
