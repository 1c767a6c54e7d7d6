#include "relocation/FolderNames.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>

#include "base/FileDescriptor.h"

namespace halvenor {

bool FolderNames::list(const FileUrl& folder) {
    names_.clear();
    const FileDescriptor descriptor(
        ::open(folder.path().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor.isOpen() || !readEntries(descriptor.get())) {
        return false;
    }
    for (size_t offset = 0; offset < length_;) {
        const char* const entry = entries_.data() + offset;
        takeName(entry + offsetof(dirent64, d_name));
        uint16_t entryLength = 0;
        std::memcpy(&entryLength, entry + offsetof(dirent64, d_reclen), sizeof entryLength);
        offset += entryLength;
    }
    std::ranges::sort(names_);
    return true;
}

QList<QByteArray> FolderNames::copies() const {
    QList<QByteArray> copies;
    copies.reserve(std::ssize(names_));
    for (const QByteArrayView name : names_) {
        copies.append(name.toByteArray());
    }
    return copies;
}

// All of them, before any is looked at: the memory may move as it grows.
bool FolderNames::readEntries(int folder) {
    constexpr size_t leastRoom = 32 << 10;
    length_ = 0;
    for (;;) {
        if (entries_.size() - length_ < leastRoom) {
            entries_.resize(std::max(2 * entries_.size(), leastRoom));
        }
        const ssize_t count =
            ::getdents64(folder, entries_.data() + length_, entries_.size() - length_);
        if (count <= 0) {
            return count == 0;
        }
        length_ += static_cast<size_t>(count);
    }
}

void FolderNames::takeName(const char* name) {
    if (name[0] != '.') {
        names_.emplace_back(name);
    }
}

}  // namespace halvenor
