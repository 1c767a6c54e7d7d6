#pragma once

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <dirent.h>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "base/FileDescriptor.h"
#include "platform/bookmark/linux/InodeMap.h"
#include "platform/bookmark/linux/MountTable.h"

namespace halvenor {

/// Goes through the folders of one file system in search of inode numbers.
///
/// The system tells each entry's number with its name, some hundred of them in one call, so that
/// nothing has to be asked for an entry that is not sought. Folders are taken in the order of their
/// depth: what a user moves by hand is seldom deep, and the many small files of caches are. Links
/// are not followed, mount points are not entered, and no folder is listed twice in the life of an
/// object.
class TreeWalk {
  public:
    /// How many entries may still be looked at; shared by all walks of one search.
    struct Budget {
        int64_t entries = 0;
        bool isExceeded = false;
    };
    /// An entry whose number is sought. Valid during the call alone.
    struct Hit {
        uint64_t inode;
        int folder;        ///< descriptor of the folder that it is in
        const char* name;  ///< in that folder
        QByteArray path;   ///< the top's path and the way from there
        uint32_t sought;   ///< the number kept for the inode
    };
    /// @return whether to go on after the folder that is being listed
    using OnHit = std::function<bool(const Hit&)>;

    /// @param device  as in FileStatus; what is on others is passed over
    /// @param sought  may grow during the walk; it and the others outlive this
    TreeWalk(uint64_t device, const InodeMap& sought, const MountTable& mounts, Budget& budget,
             std::stop_token token, OnHit onHit);

    /// Lists `top`, a folder or a link to one, and everything below that was not listed before.
    void below(const QByteArray& top);
    /// Goes on where `onHit` ended the last walk, with the folders in one of these alone.
    void resumeIn(const QList<QByteArray>& folders);

    /// No more is to be done: `onHit` said so, or isStopped().
    bool hasEnded() const { return hasEnded_ || isStopped(); }
    /// The budget is exceeded, or a stop was requested.
    bool isStopped() const { return budget_.isExceeded || token_.stop_requested(); }

  private:
    // The folders still to be listed, and those above them, from which their paths are put
    // together.
    struct Folder {
        uint32_t above;
        uint32_t nameAt;
    };

    void listQueued(const std::function<bool(uint32_t)>& isWanted);
    FileDescriptor opened(uint32_t folder) const;
    bool isNew(const FileDescriptor& folder);
    void list(const FileDescriptor& folder, uint32_t index);
    void take(const FileDescriptor& folder, uint32_t index, const dirent64& entry);
    void queue(uint32_t above, const char* name);
    bool isMountPoint(uint32_t above, const char* name) const;
    QByteArray pathOf(const QByteArray& top, uint32_t folder, const char* name) const;

    uint64_t device_;
    const InodeMap& sought_;
    const MountTable& mounts_;
    Budget& budget_;
    std::stop_token token_;
    OnHit onHit_;

    InodeMap listed_;
    bool hasEnded_ = false;

    QByteArray top_;
    QByteArray realTop_;  // as the system calls it
    FileDescriptor topFolder_;
    std::vector<Folder> folders_;
    uint32_t next_ = 1;  // the first that is still to be listed
    std::string names_;  // each with a zero at its end
    std::unique_ptr<char[]> buffer_;
};

}  // namespace halvenor
