#pragma once

#include <cstdint>
#include <vector>

#include "platform/bookmark/linux/Finder.h"
#include "platform/bookmark/linux/InodeMap.h"
#include "platform/bookmark/linux/TreeWalk.h"

namespace halvenor {

/// What one walk looks for: the lost items of one file system, and the folders above them that are
/// not where they were, since one moved folder brings back all that is in it.
class SoughtItems {
  public:
    explicit SoughtItems(Finder& finder) : finder_(finder) {}

    /// @param levels how many of the item's ancestors are lost as well, nearest first
    void add(LostItem& item, size_t levels);

    const InodeMap& inodes() const { return inodes_; }
    const std::vector<LostItem*>& items() const { return items_; }

    /// Looks closer at an entry that has one of the inodes.
    void look(const TreeWalk::Hit& hit);

    /// Whether an item is still lost.
    bool hasLost() const { return lost_ > 0; }
    /// Whether one is that may be looked for outside the search roots.
    bool hasLostInFileSystem() const { return lostInFileSystem_ > 0; }

  private:
    // An item that has an inode itself (level 0) or in one of its ancestors. All that share one
    // number are a list, by index plus one, 0 at its end.
    struct Sought {
        LostItem* item;
        size_t level;
        uint32_t next;
    };

    void add(uint64_t inode, LostItem& item, size_t level);
    void lookAt(const Sought& sought, SeenItem& seen, const QByteArray& path);
    void followLocation(const QByteArray& from, const QByteArray& to);
    void tryAt(LostItem& item, const QByteArray& path);
    // To be called once for an item that may just have been found.
    void count(const LostItem& item);

    Finder& finder_;
    std::vector<LostItem*> items_;
    std::vector<Sought> sought_;
    InodeMap inodes_;
    size_t lost_ = 0;
    size_t lostInFileSystem_ = 0;
};

}  // namespace halvenor
