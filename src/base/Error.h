#pragma once

#include <QString>

#include <cstdint>
#include <exception>
#include <optional>

namespace halvenor {

/// What went wrong, coarse enough to decide on.
enum class ErrorKind {
    io,           ///< The system refused or failed an operation on a file.
    format,       ///< The bytes are not what they should be.
    unsupported,  ///< Well formed, but nothing here can read it.
    unavailable,  ///< A service that is needed (a sound server, say) is not there.
};

/// The exception of the layers below playback: runtime trouble, never a programming error.
/// A plain value that may cross threads inside a std::exception_ptr.
class Error : public std::exception {
  public:
    /// @param text one sentence for the user, without the name of the file it is about
    /// @param byteOffset where in the file a parser stopped, in bytes from its start
    Error(ErrorKind kind, QString text, std::optional<int64_t> byteOffset = std::nullopt);

    ErrorKind kind() const { return kind_; }
    const QString& text() const { return text_; }
    std::optional<int64_t> byteOffset() const { return byteOffset_; }

    /// The text as UTF-8, with the byte offset where there is one.
    const char* what() const noexcept override { return what_.constData(); }

    /// An error of kind io whose text is the system's words for `errnoValue`.
    static Error fromErrno(int errnoValue);

  private:
    ErrorKind kind_;
    QString text_;
    std::optional<int64_t> byteOffset_;
    QByteArray what_;
};

/// The words to show a user for any exception: an Error's text, a std::exception's what(), or the
/// general sentence that stands for errors without words of their own.
QString localizedDescription(const std::exception_ptr& error);

/// The general sentence for errors that carry no description of their own.
QString genericErrorDescription();

}  // namespace halvenor
