#include "base/Error.h"

#include <cstring>
#include <utility>

namespace halvenor {

Error::Error(ErrorKind kind, QString text, std::optional<int64_t> byteOffset)
    : kind_(kind), text_(std::move(text)), byteOffset_(byteOffset), what_(text_.toUtf8()) {
    if (byteOffset_) {
        what_ += " (at byte " + QByteArray::number(static_cast<qlonglong>(*byteOffset_)) + ")";
    }
}

Error Error::fromErrno(int errnoValue) {
    char buffer[256] = {};
    // The GNU form of strerror_r may ignore the buffer and return a constant text.
    const char* text = strerror_r(errnoValue, buffer, sizeof buffer);
    return Error(ErrorKind::io, QString::fromLocal8Bit(text));
}

QString genericErrorDescription() {
    return QStringLiteral("The operation could not be completed.");
}

QString localizedDescription(const std::exception_ptr& error) {
    if (!error) {
        return genericErrorDescription();
    }
    try {
        std::rethrow_exception(error);
    } catch (const Error& known) {
        return known.text();
    } catch (const std::exception& other) {
        return QString::fromUtf8(other.what());
    } catch (...) {
        return genericErrorDescription();
    }
}

}  // namespace halvenor
