#pragma once

#include "model/FolderItem.h"
#include "model/scanner/DirectorySnapshot.h"

namespace halvenor {

/// The folder that is to play after another one, found and listed ahead of time. A plain value.
struct PreparedFolderTransition {
    /// The folder it follows: only while music of that folder plays is this of use.
    QByteArray sourceFolderPath;
    FolderItem folder;
    /// Never without tracks. Tags have been read of the first track alone.
    DirectorySnapshot contents;
};

}  // namespace halvenor
