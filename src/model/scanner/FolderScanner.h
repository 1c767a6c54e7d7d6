#pragma once

#include <QSet>

#include <optional>
#include <vector>

#include "base/ApplicationOwned.h"
#include "base/Task.h"
#include "model/scanner/DirectorySnapshot.h"

namespace halvenor {

/// The only reader of directories for the library: lists folders, finds the next one that holds
/// music, and searches folders by name. It never opens a file.
///
/// A serialised service: one listing or walk at a time, off the main thread; searches run beside
/// them. Called and awaited on the main thread. Nothing here fails: what can't be read is empty,
/// and so is what was stopped, which is why whoever stops tests the token before the result.
class FolderScanner {
  public:
    /// Ends, and waits for what its workers do, as the application object ends.
    static FolderScanner& shared();

    /// Lower-case extensions of the files that are listed as tracks.
    static const QSet<QByteArray>& supportedExtensions();

    /// One level of one folder.
    Job<DirectorySnapshot> listDirectory(const FileUrl& url, std::stop_token token = {});

    /// A listing wrapped as the FolderItem of `url`, with its children and tracks.
    Job<FolderItem> scanDirectory(const FileUrl& url, std::stop_token token = {});

    /// The first folder after `after`, in the order of a walk through the roots, that holds tracks:
    /// first under `after`, then its later siblings and those of its ancestors up to the root that
    /// contains it, then the later roots. Absent at the end, outside the roots and when stopped.
    Job<std::optional<PlayableFolderSnapshot>> nextPlayableFolder(const FileUrl& after,
                                                                  const std::vector<FileUrl>& roots,
                                                                  std::stop_token token = {});

    /// Every folder under the roots, the roots themselves included, whose name contains `query`,
    /// case and surrounding white space aside, in natural order of name and then path. Empty for a
    /// blank query and when stopped.
    Job<FolderList> searchFolders(const std::vector<FileUrl>& roots, const QString& query,
                                  std::stop_token token = {});

  private:
    friend FolderScanner& applicationOwned<FolderScanner>();
    FolderScanner() = default;

    Service listings_;
    Service searches_;
};

}  // namespace halvenor
