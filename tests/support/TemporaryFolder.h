#pragma once

#include <QByteArray>

#include "base/FileUrl.h"

namespace halvenor::test {

/// A folder that a test fills, gone at its end. Names are bytes, exactly as given.
class TemporaryFolder {
  public:
    /// @param parent the folder it is made in; "/dev/shm" for one in memory, where thousands of
    /// entries are made and removed in no time
    explicit TemporaryFolder(const QByteArray& parent = "/tmp");
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const FileUrl& url() const { return folder_; }
    /// The place of `relative` ("a/b.mp3") in the folder.
    FileUrl at(const QByteArray& relative) const;
    QByteArray path(const QByteArray& relative) const { return at(relative).path(); }

    /// Makes a folder and those above it.
    FileUrl makeFolder(const QByteArray& relative) const;
    /// Makes a file with these bytes, and the folders above it.
    FileUrl makeFile(const QByteArray& relative, const QByteArray& contents = {}) const;
    /// Makes a symbolic link that holds `target` as it is.
    FileUrl makeLink(const QByteArray& relative, const QByteArray& target) const;

  private:
    FileUrl folder_;
};

/// Gives up the rights of root for its lifetime, where the process has them, so that permissions
/// count. `folder` is handed to the user that the process becomes.
class Unprivileged {
  public:
    explicit Unprivileged(const TemporaryFolder& folder);
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;
    ~Unprivileged();

  private:
    bool wasRoot_;
};

/// A file system of 256 kB on a folder, seen by this process alone and gone with the object.
class TinyFileSystem {
  public:
    explicit TinyFileSystem(const FileUrl& folder);
    TinyFileSystem(const TinyFileSystem&) = delete;
    TinyFileSystem& operator=(const TinyFileSystem&) = delete;
    ~TinyFileSystem();

    /// Whether there is one: only root can mount.
    bool isMounted() const { return isMounted_; }

  private:
    QByteArray path_;
    bool isMounted_ = false;
};

}  // namespace halvenor::test
