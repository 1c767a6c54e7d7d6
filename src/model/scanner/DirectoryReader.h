#pragma once

#include <QByteArray>

#include <cstdint>
#include <dirent.h>
#include <optional>
#include <string_view>

#include "base/FileUrl.h"

namespace halvenor {

/// Goes through one folder's entries in the order the file system gives them, hidden ones (a
/// leading dot) left out. One system call for some hundred entries, and none for each of them.
/// A folder that can't be opened has no entries; one that fails on the way ends there. Any thread.
class DirectoryReader {
  public:
    enum class Kind {
        folder,
        file,     ///< A regular file, or something the system says nothing about.
        ignored,  ///< A symbolic link, a pipe, a device.
    };
    struct Entry {
        std::string_view name;  ///< exact bytes, valid until the next call
        Kind kind = Kind::ignored;
        std::optional<int64_t> size;  ///< bytes, where finding the kind has told it
    };

    /// @param url a folder, or a link to one
    explicit DirectoryReader(const FileUrl& url);
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;
    ~DirectoryReader();

    /// Absent after the last entry.
    std::optional<Entry> next();

    /// Whether the folder could be opened and nothing has failed since: after the last entry,
    /// whether it was read to its end.
    bool isIntact() const { return stream_ != nullptr && !hasFailed_; }

    /// The size of a file of this folder in bytes, or 0 when the system does not tell.
    int64_t fileSize(std::string_view name) const;

  private:
    Entry classified(std::string_view name) const;

    DIR* stream_ = nullptr;
    bool hasFailed_ = false;
};

}  // namespace halvenor
