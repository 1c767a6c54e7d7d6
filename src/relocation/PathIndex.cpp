#include "relocation/PathIndex.h"

#include <algorithm>
#include <bit>

namespace halvenor {

namespace {

uint32_t hashOf(const QByteArray& path) {
    const uint64_t hash = qHashBits(path.constData(), static_cast<size_t>(path.size()));
    return static_cast<uint32_t>(hash ^ hash >> 32);
}

}  // namespace

PathIndex::PathIndex(const RelocationRecords& records)
    : records_(records),
      slots_(std::bit_ceil(std::max<size_t>(static_cast<size_t>(records.size()) * 3 / 2, 8))) {}

bool PathIndex::add(qsizetype place) {
    const QByteArray& path = records_.at(place).path;
    const uint32_t hash = hashOf(path);
    Slot& slot = slots_[slotOf(hash, path)];
    if (slot.place != empty) {
        return false;
    }
    slot = {hash, static_cast<uint32_t>(place)};
    return true;
}

std::optional<qsizetype> PathIndex::find(const QByteArray& path) const {
    const Slot& slot = slots_[slotOf(hashOf(path), path)];
    return slot.place == empty ? std::nullopt : std::optional<qsizetype>(slot.place);
}

// The slot with the path, or the one that is free for it.
size_t PathIndex::slotOf(uint32_t hash, const QByteArray& path) const {
    const size_t mask = slots_.size() - 1;
    size_t index = hash & mask;
    for (; slots_[index].place != empty; index = (index + 1) & mask) {
        if (slots_[index].hash == hash && records_.at(slots_[index].place).path == path) {
            break;
        }
    }
    return index;
}

}  // namespace halvenor
