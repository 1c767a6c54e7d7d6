#pragma once

namespace halvenor {

/// What lies between the rows that two lists begin with alike and those they end with alike.
struct ChangedRows {
    int first = 0;
    int removed = 0;
    int added = 0;
};

/// A list model that tells of this alone leaves its view the place it is scrolled to and the
/// current row. One run is found: enough for lists that change in one place at a time.
/// @param before, after how many rows the lists have
/// @param isSame whether a row of the one before is the same as a row of the one after
template <class IsSame>
ChangedRows changedRows(int before, int after, IsSame isSame) {
    const int shorter = before < after ? before : after;
    int head = 0;
    while (head < shorter && isSame(head, head)) {
        ++head;
    }
    int tail = 0;
    while (tail < shorter - head && isSame(before - 1 - tail, after - 1 - tail)) {
        ++tail;
    }
    return {head, before - head - tail, after - head - tail};
}

}  // namespace halvenor
