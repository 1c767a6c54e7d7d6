#pragma once

#include "base/FileUrl.h"

namespace halvenor {

/// Whether something is at `url`, links followed. Any thread; touches the disk.
bool itemExists(const FileUrl& url);

}  // namespace halvenor
