#include "tags/writing/TagFile.h"

#include "base/Error.h"
#include "model/ID3WriterError.h"

namespace halvenor {

namespace {

template <class Work>
auto reading(Work work) {
    try {
        return work();
    } catch (const Error& error) {
        throw ID3WriterError::ioError(QStringLiteral("Could not read file: ") + error.text());
    }
}

}  // namespace

TagFile::TagFile(const FileUrl& url) {
    reading([&] { file_.emplace(url); });
}

QByteArray TagFile::read(int64_t offset, int64_t length) const {
    return reading([&] { return file_->read(offset, length); });
}

void TagFile::replace(const std::vector<QByteArray>& head, int64_t keptFrom) {
    try {
        file_->replace(head, keptFrom);
    } catch (const Error& error) {
        throw ID3WriterError::ioError(QStringLiteral("Could not write file: ") + error.text());
    }
}

}  // namespace halvenor
