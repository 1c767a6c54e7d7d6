#include "base/LateLibrary.h"

#include <dlfcn.h>

#include "base/Error.h"

namespace halvenor {

void* LateLibrary::handle() const {
    void* known = handle_.load(std::memory_order_acquire);
    if (known == nullptr) {
        // Two threads may both come here: the second gets the same handle once more.
        known = dlopen(soname_, RTLD_LAZY | RTLD_LOCAL);
        if (known == nullptr) {
            throw Error(ErrorKind::unavailable, QString::fromUtf8(missing_));
        }
        handle_.store(known, std::memory_order_release);
    }
    return known;
}

void* LateLibrary::address(const char* function) const {
    void* found = dlsym(handle(), function);
    if (found == nullptr) {
        throw Error(ErrorKind::unavailable, QString::fromUtf8(missing_));
    }
    return found;
}

}  // namespace halvenor
