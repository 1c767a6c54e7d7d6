#pragma once

#include "base/FileUrl.h"

namespace halvenor {

/// Where this user's programs keep their files, by the base directory rules of freedesktop.org
/// (https://specifications.freedesktop.org/basedir-spec): a relative path in the environment is
/// ignored. Nothing is made. Any thread that does not race with changes of the environment.
FileUrl configurationHome();
FileUrl dataHome();
FileUrl cacheHome();

}  // namespace halvenor
