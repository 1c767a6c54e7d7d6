#include "platform/bookmark/linux/LostSearch.h"

#include <QSet>

#include <cstdlib>
#include <map>
#include <memory>

namespace halvenor {

namespace {

QByteArray folderAbove(const QByteArray& path) {
    return FileUrl(path).deletingLastPathComponent().path();
}

bool isSame(const std::optional<FileStatus>& a, const std::optional<FileStatus>& b) {
    return a && b && a->device == b->device && a->inode == b->inode;
}

// The folder above, on the same file system; empty at its top. By name if the name leads there, as
// places are told in the user's terms; where a link was followed on the way, as the system calls
// it.
QByteArray folderAboveOn(uint64_t device, const QByteArray& path) {
    const auto here = fileStatus(FileUrl(path));
    const auto above = fileStatus(FileUrl(path + "/.."));
    if (!above || above->device != device || isSame(here, above)) {
        return {};
    }
    const QByteArray named = folderAbove(path);
    if (isSame(fileStatus(FileUrl(named)), above)) {
        return named;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr),
                                                           &std::free);
    return real ? folderAbove(real.get()) : QByteArray();
}

// Folders to walk, the deepest first, each once.
class Starts {
  public:
    void add(const QByteArray& path) {
        if (!path.isEmpty() && !known_.contains(path)) {
            known_.insert(path);
            byDepth_.emplace(path.count('/'), path);
        }
    }
    bool isEmpty() const { return byDepth_.empty(); }
    QByteArray takeDeepest() {
        const auto last = std::prev(byDepth_.end());
        const QByteArray path = last->second;
        byDepth_.erase(last);
        return path;
    }

  private:
    QSet<QByteArray> known_;
    std::multimap<qsizetype, QByteArray> byDepth_;
};

}  // namespace

LostSearch::LostSearch(std::vector<LostItem>& items, Finder& finder) : finder_(finder) {
    for (const QByteArray& root : finder_.roots()) {
        const auto status =
            finder_.mounts().isWaitingForMount(root) ? std::nullopt : fileStatus(FileUrl(root));
        if (status && status->kind == FileStatus::Kind::folder) {
            roots_[status->device].append(root);
        }
    }
    const auto isLost = [](const LostItem& item) { return !item.found && item.device; };
    // What is looked for far away may be a Location, with something in it that is lost there.
    QSet<uint64_t> devices(roots_.keyBegin(), roots_.keyEnd());
    for (const LostItem& item : items) {
        if (isLost(item) && item.scope == BookmarkScope::fileSystem) {
            devices.insert(*item.device);
        }
    }
    for (LostItem& item : items) {
        if (isLost(item) && devices.contains(*item.device)) {
            searchable_.push_back(&item);
        }
    }
}

void LostSearch::walk(TreeWalk::Budget& budget, const std::stop_token& token) {
    QSet<uint64_t> devices;
    for (const LostItem* const item : searchable_) {
        devices.insert(*item->device);
    }
    for (const uint64_t device : std::as_const(devices)) {
        walkDevice(device, budget, token);
    }
}

void LostSearch::walkDevice(uint64_t device, TreeWalk::Budget& budget,
                            const std::stop_token& token) {
    SoughtItems sought(finder_);
    for (LostItem* const item : searchable_) {
        if (item->device == device) {
            sought.add(*item, item->lostLevels);
        }
    }
    bool isInRoots = true;
    TreeWalk walk(device, sought.inodes(), finder_.mounts(), budget, token,
                  [&](const TreeWalk::Hit& hit) {
                      sought.look(hit);
                      return isInRoots ? sought.hasLost() : sought.hasLostInFileSystem();
                  });
    walkRoots(walk, device, sought);
    if (!sought.hasLostInFileSystem()) {
        return;
    }
    isInRoots = false;
    const qsizetype rootsBefore = finder_.roots().size();
    walkFileSystem(walk, device, sought);
    const QList<QByteArray> newRoots = finder_.roots().mid(rootsBefore);
    if (!newRoots.isEmpty() && sought.hasLost()) {
        // A Location came up, in which something may have been moved as well.
        isInRoots = true;
        walk.resumeIn(newRoots);
    }
}

void LostSearch::walkRoots(TreeWalk& walk, uint64_t device, const SoughtItems& sought) const {
    QList<QByteArray> folders = roots_.value(device);
    for (const LostItem* const item : sought.items()) {
        if (finder_.isInRoots(item->nearest)) {
            folders.append(item->nearest);
        }
    }
    walkOutward(walk, folders, [&](const QByteArray& path) {
        const QByteArray above = folderAbove(path);
        return path != "/" && finder_.isInRoots(above) ? above : QByteArray();
    });
}

void LostSearch::walkFileSystem(TreeWalk& walk, uint64_t device, const SoughtItems& sought) const {
    QList<QByteArray> folders;
    for (const LostItem* const item : sought.items()) {
        if (!item->found && item->scope == BookmarkScope::fileSystem) {
            folders.append(item->nearest);
        }
    }
    walkOutward(walk, folders, [&](const QByteArray& path) { return folderAboveOn(device, path); });
}

void LostSearch::walkOutward(TreeWalk& walk, const QList<QByteArray>& folders,
                             const Outward& outward) const {
    Starts starts;
    for (const QByteArray& folder : folders) {
        starts.add(folder);
    }
    while (!starts.isEmpty() && !walk.hasEnded()) {
        const QByteArray folder = starts.takeDeepest();
        walk.below(folder);
        starts.add(outward(folder));
    }
}

}  // namespace halvenor
