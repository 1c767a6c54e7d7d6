#pragma once

#include <QByteArray>
#include <QList>

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace halvenor {

/// What is mounted where at one moment, as /proc/self/mountinfo tells it (proc(5)). It answers
/// without touching any of the file systems, so that one that is away can't make a caller wait.
class MountTable {
  public:
    static MountTable current();
    /// @param mountinfo the bytes of such a file
    explicit MountTable(const QByteArray& mountinfo);

    /// Whether something would have to be mounted first in order to look at `path`.
    bool isWaitingForMount(const QByteArray& path) const;

    /// Whether another file system is mounted exactly here.
    bool isMountPoint(std::string_view path) const;
    /// Whether a mount point has this as its last component; quicker than the whole question.
    bool isMountPointName(std::string_view name) const { return names_.contains(name); }

    /// Where the file system of this id (FileSystemFacts) is mounted. Asks only those that answer
    /// from this machine.
    QList<QByteArray> placesOf(uint64_t fileSystem) const;

  private:
    struct Mount {
        QByteArray point;
        QByteArray type;
        bool isLocal = false;
        bool isWhole = false;  ///< not a folder of the file system alone
    };
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };
    using Names = std::unordered_set<std::string, Hash, std::equal_to<>>;

    void add(const QByteArray& line);

    std::vector<Mount> mounts_;  // one on top of another comes after it
    Names points_;
    Names names_;
    bool hasAutomounts_ = false;
};

}  // namespace halvenor
