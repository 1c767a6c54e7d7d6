#pragma once

#include <optional>
#include <stop_token>
#include <vector>

#include "model/scanner/DirectorySnapshot.h"

namespace halvenor {

/// The first folder after `after`, in the order of a walk through the roots, that holds tracks.
///
/// The walk is depth-first, and a folder stands before what it contains. It goes down from `after`,
/// then through its later siblings and those of each ancestor below the first root that contains
/// it, then through the later roots. Ancestors themselves were passed on the way down and are not
/// given again. No folder is entered twice, by whatever path it is met. Absent at the end, outside
/// the roots and when stopped. Lists every folder anew; any thread.
std::optional<PlayableFolderSnapshot> nextPlayableFolder(const FileUrl& after,
                                                         const std::vector<FileUrl>& roots,
                                                         const std::stop_token& token = {});

}  // namespace halvenor
