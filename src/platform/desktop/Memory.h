#pragma once

namespace halvenor {

/// Gives memory that was freed back to the system: a start leaves some that is not needed again.
/// Takes less than a millisecond. Any thread.
void returnUnusedMemory();

}  // namespace halvenor
