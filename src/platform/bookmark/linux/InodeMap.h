#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace halvenor {

/// Inode numbers of one file system, each with a number of the owner's. Made for being asked a
/// million times for what it does not hold: one table, open addressing, at most half full. Inode 0
/// does not exist in any file system and is not kept.
class InodeMap {
  public:
    /// @return where the number of `inode` is kept, 0 if it is new here; valid until the next call
    uint32_t& operator[](uint64_t inode) {
        if (2 * (count_ + 1) > slots_.size()) {
            grow();
        }
        Slot& slot = slots_[indexOf(inode)];
        if (slot.inode == 0) {
            slot.inode = inode;
            ++count_;
        }
        return slot.value;
    }

    /// Null if `inode` is not here.
    const uint32_t* find(uint64_t inode) const {
        const Slot& slot = slots_[indexOf(inode)];
        return slot.inode == inode && inode != 0 ? &slot.value : nullptr;
    }

  private:
    struct Slot {
        uint64_t inode = 0;
        uint32_t value = 0;
    };

    size_t indexOf(uint64_t inode) const {
        // Numbers come in runs; the multiplier (2^64 over the golden ratio) spreads them.
        const uint64_t spread = inode * 0x9E3779B97F4A7C15U;
        size_t index = spread >> (64 - std::countr_zero(slots_.size()));
        while (slots_[index].inode != inode && slots_[index].inode != 0) {
            index = (index + 1) & (slots_.size() - 1);
        }
        return index;
    }

    void grow() {
        std::vector<Slot> old(slots_.size() * 2);
        old.swap(slots_);
        for (const Slot& slot : old) {
            if (slot.inode != 0) {
                slots_[indexOf(slot.inode)] = slot;
            }
        }
    }

    std::vector<Slot> slots_ = std::vector<Slot>(64);
    size_t count_ = 0;
};

}  // namespace halvenor
