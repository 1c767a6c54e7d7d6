#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace halvenor {

/// The error of both tag writers, and of playback when a file is missing.
///
/// It has no description for the user: what() is the general sentence. The message travels in the
/// value, for logs and tests.
class ID3WriterError : public std::exception {
  public:
    enum class Case {
        ioError,   ///< Reading or writing failed, a structure was refused, or a file is missing.
        notAnMP3,  ///< The writer that was called does not handle the file's extension.
    };

    static ID3WriterError ioError(const QString& message);
    static ID3WriterError notAnMP3();

    Case kind() const { return kind_; }
    /// The message of ioError; empty for notAnMP3.
    const QString& message() const { return message_; }
    const char* what() const noexcept override;

  private:
    ID3WriterError(Case kind, QString message);

    Case kind_;
    QString message_;
    QByteArray description_;
};

}  // namespace halvenor
