#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

#include "relocation/RelocationRecord.h"

namespace halvenor {

/// Finds records by their paths. Small, so that it stays in the processor's cache while ten
/// thousand paths go by: eight bytes for a record, and a record is looked at only when it is
/// most likely the one. One thread.
class PathIndex {
  public:
    /// @param records what is to be indexed, as long as the index lives
    explicit PathIndex(const RelocationRecords& records);

    /// Adds the record at this place of the list. @return whether its path was not there yet
    bool add(qsizetype place);
    /// The place of the record with this path, if it was added.
    std::optional<qsizetype> find(const QByteArray& path) const;

  private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t place = empty;
    };
    static constexpr uint32_t empty = UINT32_MAX;

    size_t slotOf(uint32_t hash, const QByteArray& path) const;

    const RelocationRecords& records_;
    std::vector<Slot> slots_;  // a power of two; those that collide follow each other
};

}  // namespace halvenor
