#pragma once

#include <utility>

#include "model/FolderItem.h"
#include "model/scanner/DirectorySnapshot.h"

namespace halvenor {

/// The folder that is to play after another one, found and listed ahead of time. A plain value.
struct PreparedFolderTransition {
    PreparedFolderTransition(QByteArray source, FolderItem next, DirectorySnapshot listing)
        : sourceFolderPath(std::move(source)),
          folder(std::move(next)),
          contents(std::move(listing)) {}

    /// The folder it follows: only while music of that folder plays is this of use.
    QByteArray sourceFolderPath;
    FolderItem folder;
    /// Never without tracks. Tags have been read of the first track alone.
    DirectorySnapshot contents;
};

}  // namespace halvenor
