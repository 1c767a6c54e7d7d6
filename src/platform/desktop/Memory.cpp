#include "platform/desktop/Memory.h"

#include <malloc.h>

namespace halvenor {

void returnUnusedMemory() {
    malloc_trim(0);
}

}  // namespace halvenor
