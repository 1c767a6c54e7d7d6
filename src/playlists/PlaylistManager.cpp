#include "playlists/PlaylistManager.h"
