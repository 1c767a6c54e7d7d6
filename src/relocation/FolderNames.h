#pragma once

#include <QByteArrayView>
#include <QList>

#include <span>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {

/// The names of what a folder holds, in order of bytes, hidden ones (a leading dot) left out. One
/// object lists many folders one after the other in the same memory: comparing a thousand listings
/// with what they were allocates nothing. One thread.
class FolderNames {
  public:
    /// @param folder a folder, or a link to one
    /// @return whether it was listed to its end
    bool list(const FileUrl& folder);

    /// Of the folder listed last, valid until the next.
    std::span<const QByteArrayView> names() const { return names_; }
    /// The same, to be kept.
    QList<QByteArray> copies() const;

  private:
    bool readEntries(int folder);
    void takeName(const char* name);

    std::vector<char> entries_;  // as the kernel gives them
    size_t length_ = 0;          // bytes of them
    std::vector<QByteArrayView> names_;
};

}  // namespace halvenor
