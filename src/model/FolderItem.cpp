#include "model/FolderItem.h"

#include <utility>

namespace halvenor {

FolderItem::FolderItem(FileUrl url, bool isDirectory,
                       std::optional<std::vector<FolderItem>> itsChildren, TrackList itsTracks)
    : children(std::move(itsChildren)),
      tracks(std::move(itsTracks)),
      url_(std::move(url)),
      name_(url_.lastPathComponent()),
      isDirectory_(isDirectory) {}

bool operator==(const FolderItem& a, const FolderItem& b) {
    return a.url_ == b.url_ && a.isDirectory_ == b.isDirectory_ && a.children == b.children &&
           a.tracks == b.tracks;
}

size_t qHash(const FolderItem& folder, size_t seed) noexcept {
    seed = qHashMulti(seed, folder.url_, folder.isDirectory_, folder.children.has_value());
    if (folder.children) {
        seed = ::qHash(folder.children->size(), seed);
        for (const FolderItem& child : *folder.children) {
            seed = qHash(child, seed);
        }
    }
    seed = ::qHash(folder.tracks.size(), seed);
    for (const Track& track : folder.tracks) {
        seed = qHash(track, seed);
    }
    return seed;
}

}  // namespace halvenor
