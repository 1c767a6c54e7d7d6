#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <cstdint>
#include <vector>

#include "platform/bookmark/linux/Finder.h"
#include "platform/bookmark/linux/SeenItem.h"

namespace halvenor {

/// What is left around the stored places of lost items: which folders above them are still there,
/// and whether the file system is. Thousands of items share their folders; each is looked at once.
class Surroundings {
  public:
    explicit Surroundings(Finder& finder) : finder_(finder) {}

    /// Fills in the item's device, nearest folder and lost levels. If its file system is mounted
    /// elsewhere now, the item is looked for at its old place in it.
    void explore(LostItem& item);

  private:
    struct Mounted {
        QByteArray place;
        uint64_t device;
    };

    void exploreElsewhere(LostItem& item);
    size_t lostLevels(const LostItem& item);
    QByteArray nearestFolder(const QByteArray& path);
    SeenItem& at(const QByteArray& path);
    std::optional<uint64_t> fileSystemOf(const QByteArray& folder);
    const QList<Mounted>& placesOf(uint64_t fileSystem);

    Finder& finder_;
    QHash<QByteArray, SeenItem> seen_;
    QHash<uint64_t, std::optional<uint64_t>> fileSystems_;  // by device
    QHash<uint64_t, QList<Mounted>> mounted_;               // by file system
};

/// Whether `path` is a folder on which nothing is mounted, though it was the top of the item's file
/// system: it does not stand for what was there.
bool isBareMountPoint(const LostItem& item, const FileStatus& status);

}  // namespace halvenor
