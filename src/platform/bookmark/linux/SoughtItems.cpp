#include "platform/bookmark/linux/SoughtItems.h"

#include "base/MoveTable.h"

namespace halvenor {

void SoughtItems::add(LostItem& item, size_t levels) {
    items_.push_back(&item);
    lost_ += 1;
    lostInFileSystem_ += item.scope == BookmarkScope::fileSystem ? 1 : 0;
    add(item.front.item.inode, item, 0);
    for (size_t level = 1; level <= levels; ++level) {
        add(item.back.ancestors[level - 1].inode, item, level);
    }
}

void SoughtItems::add(uint64_t inode, LostItem& item, size_t level) {
    if (inode != 0) {
        uint32_t& first = inodes_[inode];
        sought_.push_back({&item, level, first});
        first = static_cast<uint32_t>(sought_.size());
    }
}

void SoughtItems::look(const TreeWalk::Hit& hit) {
    SeenItem seen(hit.folder, hit.name);
    if (!seen.exists() || seen.status().inode != hit.inode) {
        return;
    }
    for (uint32_t i = hit.sought; i != 0; i = sought_[i - 1].next) {
        lookAt(sought_[i - 1], seen, hit.path);
    }
}

void SoughtItems::lookAt(const Sought& sought, SeenItem& seen, const QByteArray& path) {
    LostItem& item = *sought.item;
    const QByteArray& stored = item.front.path;
    if (item.found) {
        return;
    }
    if (sought.level == 0) {
        if (seen.isMoved(item.front, item.back)) {
            followLocation(stored, path);
            finder_.take(item, path, seen);
            count(item);
        }
    } else if (seen.isMovedFolder(item.back.ancestors[sought.level - 1])) {
        const qsizetype length = lengthOfAncestor(stored, sought.level);
        followLocation(stored.left(length), path);
        tryAt(item, rebased(stored, length, path));
    }
}

// Items may lie too deep in a Location to know it among their ancestors.
void SoughtItems::followLocation(const QByteArray& from, const QByteArray& to) {
    if (!finder_.addIfLocation(from, to)) {
        return;
    }
    for (LostItem* const item : items_) {
        if (item->front.path != from && inside(item->front.path, from)) {
            tryAt(*item, rebased(item->front.path, from.size(), to));
        }
    }
}

void SoughtItems::tryAt(LostItem& item, const QByteArray& path) {
    if (!item.found) {
        finder_.tryAt(item, path);
        count(item);
    }
}

void SoughtItems::count(const LostItem& item) {
    if (item.found) {
        lost_ -= 1;
        lostInFileSystem_ -= item.scope == BookmarkScope::fileSystem ? 1 : 0;
    }
}

}  // namespace halvenor
