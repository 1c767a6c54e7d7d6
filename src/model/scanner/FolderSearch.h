#pragma once

#include <QString>

#include <stop_token>
#include <vector>

#include "model/FolderItem.h"

namespace halvenor {

/// Every folder under the roots, the roots themselves included, whose name contains `query`, case
/// and surrounding white space aside: each path once, in natural order of name, then of path.
/// Hidden folders and links are neither found nor entered, unless a root is one. Empty for a blank
/// query and when stopped; what can't be read is passed over. Any thread.
FolderList searchFolders(const std::vector<FileUrl>& roots, const QString& query,
                         const std::stop_token& token = {});

}  // namespace halvenor
