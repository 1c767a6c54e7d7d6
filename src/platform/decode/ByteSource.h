#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {

/// Bytes of known number to read at any place: a file, or memory. Every parser of this folder
/// takes one, so that no parser opens files and each can be fed with made-up bytes.
/// One thread at a time.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    virtual int64_t size() const = 0;
    /// Reads at `offset`. @return bytes read; fewer than asked at the end, where a file has become
    /// shorter, and where the disk fails. Places outside the source give 0.
    virtual int64_t read(int64_t offset, std::span<uint8_t> into) = 0;

    /// Whether all of `into` could be filled.
    bool readFully(int64_t offset, std::span<uint8_t> into) {
        return read(offset, into) == static_cast<int64_t>(into.size());
    }
};

/// A file's bytes through pread and a small window. The descriptor stays open, so renaming or
/// deleting the file changes nothing; it is never mapped, as a file cut short under a mapping
/// would end the process.
class FileBytes final : public ByteSource {
  public:
    /// @throws Error (io) when the file can't be opened or is no ordinary file
    explicit FileBytes(const FileUrl& url);
    ~FileBytes() override;
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    int64_t size() const override { return size_; }
    int64_t read(int64_t offset, std::span<uint8_t> into) override;

  private:
    int64_t readDirectly(int64_t offset, std::span<uint8_t> into) const;

    int descriptor_ = -1;
    int64_t size_ = 0;
    std::vector<uint8_t> window_;
    int64_t windowBegin_ = 0;
    int64_t windowBytes_ = 0;
};

/// Bytes in memory that belong to somebody else and outlive this.
class MemoryBytes final : public ByteSource {
  public:
    explicit MemoryBytes(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    int64_t size() const override { return static_cast<int64_t>(bytes_.size()); }
    int64_t read(int64_t offset, std::span<uint8_t> into) override;

  private:
    std::span<const uint8_t> bytes_;
};

/// @name Integers from bytes, most (be) or least (le) significant byte first.
/// @{
inline uint32_t be16(const uint8_t* p) {
    return uint32_t{p[0]} << 8 | p[1];
}
inline uint32_t be24(const uint8_t* p) {
    return be16(p) << 8 | p[2];
}
inline uint32_t be32(const uint8_t* p) {
    return be16(p) << 16 | be16(p + 2);
}
inline uint64_t be64(const uint8_t* p) {
    return uint64_t{be32(p)} << 32 | be32(p + 4);
}
inline uint32_t le16(const uint8_t* p) {
    return uint32_t{p[1]} << 8 | p[0];
}
inline uint32_t le32(const uint8_t* p) {
    return le16(p + 2) << 16 | le16(p);
}
inline uint64_t le64(const uint8_t* p) {
    return uint64_t{le32(p + 4)} << 32 | le32(p);
}
/// @}

/// Whether the four bytes at `p` are the letters of `code`.
inline bool isCode(const uint8_t* p, const char (&code)[5]) {
    return be32(p) ==
           (uint32_t{static_cast<uint8_t>(code[0])} << 24 |
            uint32_t{static_cast<uint8_t>(code[1])} << 16 |
            uint32_t{static_cast<uint8_t>(code[2])} << 8 | uint32_t{static_cast<uint8_t>(code[3])});
}

}  // namespace halvenor
