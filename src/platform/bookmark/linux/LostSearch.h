#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <functional>
#include <stop_token>
#include <vector>

#include "platform/bookmark/linux/Finder.h"
#include "platform/bookmark/linux/SoughtItems.h"
#include "platform/bookmark/linux/TreeWalk.h"

namespace halvenor {

/// One walk for all items that a call has lost.
///
/// It goes through the search roots first, and in them from where something is missing outward, as
/// most moves are short. Then, for items that may have left the roots, from the nearest folders
/// that are still there outward to the top of their file system.
class LostSearch {
  public:
    /// @param items with their surroundings explored; those found already are passed over. All of
    /// these outlive the search.
    LostSearch(std::vector<LostItem>& items, Finder& finder);

    /// The items that a walk could find: their file systems are there, and there is a place to
    /// look.
    const std::vector<LostItem*>& searchable() const { return searchable_; }

    void walk(TreeWalk::Budget& budget, const std::stop_token& token);

  private:
    using Outward = std::function<QByteArray(const QByteArray&)>;

    void walkDevice(uint64_t device, TreeWalk::Budget& budget, const std::stop_token& token);
    void walkRoots(TreeWalk& walk, uint64_t device, const SoughtItems& sought) const;
    void walkFileSystem(TreeWalk& walk, uint64_t device, const SoughtItems& sought) const;
    void walkOutward(TreeWalk& walk, const QList<QByteArray>& starts, const Outward& outward) const;

    Finder& finder_;
    QHash<uint64_t, QList<QByteArray>> roots_;  // by device
    std::vector<LostItem*> searchable_;
};

}  // namespace halvenor
