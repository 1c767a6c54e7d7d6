#include "relocation/RelocationStore.h"
