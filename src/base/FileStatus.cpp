#include "base/FileStatus.h"

#include <sys/stat.h>

namespace halvenor {

bool itemExists(const FileUrl& url) {
    struct stat status {};
    return ::stat(url.path().constData(), &status) == 0;
}

}  // namespace halvenor
