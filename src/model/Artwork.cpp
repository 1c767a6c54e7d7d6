#include "model/Artwork.h"

#include <algorithm>
#include <cstring>

namespace halvenor {

namespace {

// A few kilobytes tell covers apart well enough to find candidates; equality is then tested on the
// whole. Hashing all of every cover would cost more than reading the tags.
size_t candidateKey(const char* data, size_t size) {
    constexpr size_t sample = 1024;
    size_t key = ::qHash(size);
    for (const size_t start : {size_t{0}, size / 2, size > sample ? size - sample : 0}) {
        key = qHashBits(data + start, std::min(sample, size - start), key);
    }
    return key;
}

}  // namespace

const QByteArray& Artwork::bytes() const {
    static const QByteArray none;
    return bytes_ ? *bytes_ : none;
}

bool operator==(const Artwork& a, const Artwork& b) {
    if (a.bytes_ == b.bytes_) {
        return true;
    }
    return a.isPresent() && b.isPresent() && *a.bytes_ == *b.bytes_;
}

size_t qHash(const Artwork& artwork, size_t seed) noexcept {
    return artwork.isPresent() ? qHashMulti(seed, 1, *artwork.bytes_) : ::qHash(0, seed);
}

ArtworkPool& ArtworkPool::shared() {
    static ArtworkPool pool;
    return pool;
}

// Now and then, so that the pool does not grow with every cover that was ever seen.
void ArtworkPool::removeDead() {
    if (candidatesByKey_.size() < nextCleaning_) {
        return;
    }
    std::erase_if(candidatesByKey_, [](const auto& entry) {
        return std::ranges::all_of(entry.second,
                                   [](const auto& candidate) { return candidate.expired(); });
    });
    nextCleaning_ = std::max(firstCleaning, 2 * candidatesByKey_.size());
}

Artwork ArtworkPool::intern(const char* data, size_t size) {
    const size_t key = candidateKey(data, size);
    const std::scoped_lock lock(mutex_);
    removeDead();
    Candidates& candidates = candidatesByKey_[key];
    std::erase_if(candidates, [](const auto& candidate) { return candidate.expired(); });
    for (const auto& candidate : candidates) {
        const auto bytes = candidate.lock();
        if (bytes && QByteArrayView(*bytes) == QByteArrayView(data, static_cast<qsizetype>(size))) {
            return Artwork(bytes);
        }
    }
    auto fresh = std::make_shared<const QByteArray>(data, static_cast<qsizetype>(size));
    candidates.push_back(fresh);
    return Artwork(std::move(fresh));
}

}  // namespace halvenor
