#pragma once

#include <QByteArray>
#include <QList>

#include <optional>
#include <vector>

#include "base/FileDescriptor.h"

namespace halvenor {

/// The Locations, held open without a right to anything but to ask where they are now. That tells
/// of a rename anywhere on their file system for the price of one readlink.
///
/// A descriptor keeps its file system from being unmounted. So Locations are held only on the file
/// systems that are in use anyway, those of the root and of the user's home; on others, such as a
/// disk that the user wants to take out, a Location that was moved is found by a walk.
class HeldLocations {
  public:
    /// Holds these, and no others; a folder that is held already stays so under its old path,
    /// unless it was removed. @return whether one of them is new to the list
    bool set(const QList<QByteArray>& paths);

    struct Place {
        QByteArray path;                    ///< as it was given
        std::optional<QByteArray> movedTo;  ///< where the held folder is, if not there any more
    };
    /// One for each path, the longest path first.
    std::vector<Place> places() const;

  private:
    struct Location {
        QByteArray path;
        FileDescriptor folder;
        QByteArray openedAt;  ///< what the system called the folder then; links are followed
    };

    static void hold(Location& location);

    std::vector<Location> locations_;
};

/// What the system calls the item that is open; absent if it has no name any more.
std::optional<QByteArray> placeOf(const FileDescriptor& item);

}  // namespace halvenor
