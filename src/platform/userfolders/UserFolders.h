#pragma once

#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

/// Where this user's programs keep their files, by the base directory rules of freedesktop.org
/// (https://specifications.freedesktop.org/basedir-spec): a relative path in the environment is
/// ignored. Nothing is made. Any thread that does not race with changes of the environment.
FileUrl configurationHome();
FileUrl dataHome();
FileUrl cacheHome();

/// The folder for what lives as long as the user is logged in: sockets and locks (XDG_RUNTIME_DIR).
/// Absent where the environment names none, or one that is not this user's alone: programs run as
/// another user may inherit the variable. Looks at the disk.
std::optional<FileUrl> runtimeHome();

}  // namespace halvenor
