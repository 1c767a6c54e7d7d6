#pragma once

#include <QByteArray>
#include <QList>

#include <vector>

#include "platform/bookmark/linux/HeldLocations.h"
#include "platform/bookmark/linux/LostItem.h"
#include "platform/bookmark/linux/MountTable.h"
#include "platform/bookmark/linux/SeenItem.h"

namespace halvenor {

/// Where lost items may be found, and what is done with one that is.
class Finder {
  public:
    Finder(const MountTable& mounts, const std::vector<HeldLocations::Place>& locations);

    const MountTable& mounts() const { return mounts_; }
    /// The places of the Locations now, those included that a Location turned out to have moved to.
    const QList<QByteArray>& roots() const { return roots_; }
    bool isInRoots(const QByteArray& path) const;

    /// A folder was found to have moved. @return whether it is a Location not known to be there
    bool addIfLocation(const QByteArray& from, const QByteArray& to);

    /// Looks for the item at `path`, where it has to be if one of the folders above it was moved
    /// along with it.
    void tryAt(LostItem& item, const QByteArray& path);
    /// The item is at `path`.
    void take(LostItem& item, const QByteArray& path, const SeenItem& seen);
    /// The search is over: what will do has to do now.
    void settle(LostItem& item) const;

  private:
    bool isAllowed(const LostItem& item, const QByteArray& path) const;

    const MountTable& mounts_;
    QList<QByteArray> locations_;
    QList<QByteArray> roots_;
};

}  // namespace halvenor
