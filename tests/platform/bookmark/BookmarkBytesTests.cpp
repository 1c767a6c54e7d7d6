#include "Bookmarks.h"
