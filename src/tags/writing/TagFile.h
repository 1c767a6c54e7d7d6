#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

#include "base/AtomicFile.h"

namespace halvenor {

/// The file whose tags a writer rewrites: its head is read, and replaced; the rest is kept.
/// What goes wrong on the disk arrives as the writers' error.
class TagFile {
  public:
    /// @throws ID3WriterError (ioError)
    explicit TagFile(const FileUrl& url);

    /// In bytes.
    int64_t size() const { return file_->size(); }
    /// See FileReplacement::read. @throws ID3WriterError (ioError)
    QByteArray read(int64_t offset, int64_t length) const;
    /// See FileReplacement::replace. @throws ID3WriterError (ioError)
    void replace(const std::vector<QByteArray>& head, int64_t keptFrom);

  private:
    std::optional<FileReplacement> file_;
};

}  // namespace halvenor
