#pragma once

#include "model/FolderItem.h"
#include "model/TrackList.h"

namespace halvenor {

/// What one listing of a folder found: its sub-folders and its tracks, each in natural order of
/// their names. The tracks are skeletons: file name, size and format, no tags. An empty snapshot
/// can mean an empty folder or one that can't be read.
struct DirectorySnapshot {
    FolderList folders;
    TrackList tracks;
};

/// A folder together with what it holds.
struct PlayableFolderSnapshot {
    FolderItem folder;
    DirectorySnapshot contents;
};

}  // namespace halvenor
