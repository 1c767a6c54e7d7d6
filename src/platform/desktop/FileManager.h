#pragma once

#include "base/FileUrl.h"

namespace halvenor {

/// Shows the folder that holds `url` in the desktop's file manager, with the item selected where
/// the file manager can do that. Returns at once; what fails is only logged. Main thread.
void revealInFileManager(const FileUrl& url);

/// Shows what is in `folder`.
void openInFileManager(const FileUrl& folder);

}  // namespace halvenor
