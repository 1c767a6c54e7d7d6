#include "model/scanner/FolderScanner.h"

#include <utility>

#include "model/AudioExtensions.h"
#include "model/scanner/DirectoryListing.h"
#include "model/scanner/FolderSearch.h"
#include "model/scanner/FolderWalk.h"

// The jobs hold the caller's token themselves instead of handing it to the queue: a stopped one
// then ends as a scan that found nothing, and never with an exception.
namespace halvenor {

FolderScanner& FolderScanner::shared() {
    return applicationOwned<FolderScanner>();
}

const QSet<QByteArray>& FolderScanner::supportedExtensions() {
    return halvenor::supportedExtensions();
}

Job<DirectorySnapshot> FolderScanner::listDirectory(const FileUrl& url, std::stop_token token) {
    return listings_.run([url, token = std::move(token)](const std::stop_token&) {
        return token.stop_requested() ? DirectorySnapshot() : halvenor::listDirectory(url, token);
    });
}

Job<FolderItem> FolderScanner::scanDirectory(const FileUrl& url, std::stop_token token) {
    return listings_.run([url, token = std::move(token)](const std::stop_token&) {
        DirectorySnapshot snapshot = halvenor::listDirectory(url, token);
        return FolderItem(url, true, std::move(snapshot.folders), std::move(snapshot.tracks));
    });
}

Job<std::optional<PlayableFolderSnapshot>> FolderScanner::nextPlayableFolder(
    const FileUrl& after, const std::vector<FileUrl>& roots, std::stop_token token) {
    return listings_.run([after, roots, token = std::move(token)](const std::stop_token&) {
        return halvenor::nextPlayableFolder(after, roots, token);
    });
}

Job<FolderList> FolderScanner::searchFolders(const std::vector<FileUrl>& roots,
                                             const QString& query, std::stop_token token) {
    return searches_.run([roots, query, token = std::move(token)](const std::stop_token&) {
        return halvenor::searchFolders(roots, query, token);
    });
}

}  // namespace halvenor
