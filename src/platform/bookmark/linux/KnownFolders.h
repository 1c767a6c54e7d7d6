#pragma once

#include <QByteArray>
#include <QMultiHash>

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/bookmark/linux/Finder.h"

namespace halvenor {

/// Folders whose present places are known without a search, with what is below them.
class KnownFolders {
  public:
    /// @param found what other bookmarks of the call have led to
    KnownFolders(const std::vector<HeldLocations::Place>& locations,
                 const std::vector<std::optional<BookmarkResolution>>& found,
                 const MountTable& mounts);

    /// Follows the Location that the item was in, then each folder that was above it.
    void follow(LostItem& item, Finder& finder) const;

  private:
    std::optional<QByteArray> placeOfFolder(const ItemIdentity& identity) const;

    std::vector<HeldLocations::Place> moved_;
    QMultiHash<uint64_t, QByteArray> byInode_;
};

}  // namespace halvenor
