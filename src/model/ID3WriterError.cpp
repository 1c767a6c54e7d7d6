#include "model/ID3WriterError.h"

#include <utility>

#include "base/Error.h"

namespace halvenor {

ID3WriterError::ID3WriterError(Case kind, QString message)
    : kind_(kind), message_(std::move(message)), description_(genericErrorDescription().toUtf8()) {}

ID3WriterError ID3WriterError::ioError(const QString& message) {
    return ID3WriterError(Case::ioError, message);
}

ID3WriterError ID3WriterError::notAnMP3() {
    return ID3WriterError(Case::notAnMP3, QString());
}

const char* ID3WriterError::what() const noexcept {
    return description_.constData();
}

}  // namespace halvenor
