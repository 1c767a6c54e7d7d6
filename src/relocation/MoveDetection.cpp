#include "relocation/MoveDetection.h"
