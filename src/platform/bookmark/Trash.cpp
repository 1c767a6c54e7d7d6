#include "platform/bookmark/Bookmark.h"
