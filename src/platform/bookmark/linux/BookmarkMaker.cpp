#include "platform/bookmark/linux/BookmarkMaker.h"

#include <climits>
#include <fcntl.h>

#include "platform/bookmark/Bookmark.h"

namespace halvenor {

namespace {

bool isMarkable(const QByteArray& path) {
    return path.startsWith('/') && path.size() < PATH_MAX && !path.contains('\0');
}

}  // namespace

std::optional<QByteArray> BookmarkMaker::made(const QByteArray& path) {
    const auto status = isMarkable(path) ? fileStatus(FileUrl(path)) : std::nullopt;
    if (!status) {
        return std::nullopt;
    }
    const FileSystemFacts facts = fileSystem(status->device, path);
    BookmarkFront front;
    front.kind = status->kind;
    front.item = {status->inode, status->born, {}};
    if (facts.hasLastingHandles) {
        front.item.handle = fileHandle(AT_FDCWD, path);
    }
    front.path = path;

    BookmarkBack back;
    back.fileSystem = facts.id;
    back.size = status->size;
    back.modified = status->modified;
    const QByteArray above = path.left(lengthOfAncestor(path, 1));
    const Chain& chain = chainFrom(above);
    // Not so with a link to another file system, or its top. Where one file system stands on
    // several (overlay), files and folders have different devices.
    if (chain.device == status->device ||
        (!above.isEmpty() && fileSystem(chain.device, above).id == facts.id)) {
        back.ancestors = chain.identities;
        back.topLength = chain.topLength;
    } else if (status->kind == FileStatus::Kind::folder) {
        back.topLength = path.size();
    }
    return encodedBookmark(front, back);
}

const BookmarkMaker::Chain& BookmarkMaker::chainFrom(const QByteArray& folder) {
    if (const auto known = chains_.constFind(folder); known != chains_.constEnd()) {
        return *known;
    }
    Chain chain;
    QByteArray path = folder;
    for (bool isFirst = true; !path.isEmpty(); isFirst = false) {
        const auto& status = statusOf(path);
        if (!status || (!isFirst && status->device != chain.device)) {
            break;
        }
        chain.device = status->device;
        chain.topLength = path.size();
        if (chain.identities.size() < BookmarkBack::mostAncestors) {
            // The handle only where it has to be: six of them are long.
            const bool needsHandle =
                !status->born && fileSystem(chain.device, path).hasLastingHandles;
            chain.identities.push_back({status->inode, status->born,
                                        needsHandle ? fileHandle(AT_FDCWD, path) : QByteArray()});
        }
        path.truncate(lengthOfAncestor(path, 1));
    }
    return *chains_.insert(folder, chain);
}

const std::optional<FileStatus>& BookmarkMaker::statusOf(const QByteArray& folder) {
    auto known = statuses_.constFind(folder);
    if (known == statuses_.constEnd()) {
        known = statuses_.insert(folder, fileStatus(FileUrl(folder)));
    }
    return *known;
}

FileSystemFacts BookmarkMaker::fileSystem(uint64_t device, const QByteArray& path) {
    auto known = fileSystems_.constFind(device);
    if (known == fileSystems_.constEnd()) {
        known = fileSystems_.insert(device, fileSystemAt(path).value_or(FileSystemFacts()));
    }
    return *known;
}

std::optional<QByteArray> makeBookmark(const FileUrl& url) {
    return BookmarkMaker().made(url.standardized().path());
}

std::vector<std::optional<QByteArray>> makeBookmarks(const QList<FileUrl>& urls) {
    BookmarkMaker maker;
    std::vector<std::optional<QByteArray>> bookmarks;
    bookmarks.reserve(static_cast<size_t>(urls.size()));
    for (const FileUrl& url : urls) {
        bookmarks.push_back(maker.made(url.standardized().path()));
    }
    return bookmarks;
}

}  // namespace halvenor
