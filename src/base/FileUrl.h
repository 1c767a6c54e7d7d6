#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHashFunctions>
#include <QList>
#include <QString>

#include <optional>

namespace halvenor {

/// A place in the file system: the bytes of a path, exactly as the system gave them.
///
/// Bytes are identity. Nothing here decodes them, folds case, follows links or looks at the disk;
/// text is made from them for display alone (displayText). A trailing slash is not part of a path,
/// so "/Music/" and "/Music" are one place. Copies are cheap (shared bytes); any thread.
class FileUrl {
  public:
    FileUrl() = default;
    /// @param path path bytes; absolute wherever the place is to be kept beyond this process
    explicit FileUrl(QByteArray path);

    bool isEmpty() const { return path_.isEmpty(); }
    const QByteArray& path() const { return path_; }

    /// The part after the last slash; "/" for the root itself.
    QByteArray lastPathComponent() const;
    /// What follows the last dot of the last component, as it stands; empty without one, for a
    /// name that only begins with a dot (".mp3"), and after a dot at the end ("a.").
    QByteArray pathExtension() const;
    /// "/", then each component, as separate pieces. An empty path has none.
    QList<QByteArray> pathComponents() const;

    FileUrl appendingPathComponent(const QByteArray& component) const;
    FileUrl deletingLastPathComponent() const;
    FileUrl deletingPathExtension() const;
    /// The same place without "." and ".." components and doubled slashes. Links are not resolved:
    /// ".." takes away the component before it by name; at the root it has nothing to take.
    FileUrl standardized() const;

    /// "file://" and the path with every byte outside the unreserved set of RFC 3986 (and "/")
    /// percent-encoded, so that any bytes survive.
    QByteArray encoded() const;
    /// Reads what encoded() writes, with "localhost" or no host, and "file:/path". Absent for any
    /// other scheme or host, for a percent sign without two digits after it, and where a zero byte
    /// is encoded, which no path can hold.
    static std::optional<FileUrl> fromEncoded(QByteArrayView text);

    friend bool operator==(const FileUrl& a, const FileUrl& b) { return a.path_ == b.path_; }
    friend size_t qHash(const FileUrl& url, size_t seed = 0) noexcept {
        return qHash(url.path_, seed);
    }

  private:
    QByteArray path_;
};

/// Path bytes as text to show: UTF-8 decoded, with U+FFFD for what is not UTF-8. Lossy; never to
/// be turned back into a path.
QString displayText(const QByteArray& pathBytes);

}  // namespace halvenor
