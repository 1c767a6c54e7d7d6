#pragma once

#include <unistd.h>
#include <utility>

namespace halvenor {

/// Owns an open file descriptor; -1 is none. Move-only; any thread.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    /// Gives the descriptor away, unclosed.
    int release() { return std::exchange(descriptor_, -1); }
    /// Closes it now. @return whether the system took everything that was written
    bool close() { return !isOpen() || ::close(release()) == 0; }

  private:
    int descriptor_ = -1;
};

}  // namespace halvenor
