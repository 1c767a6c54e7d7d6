// Any bytes as playlists.json: refused with an error, or playlists that outlive being written.
#include "base/Error.h"
#include "playlists/Playlist.h"
#include "support/ScratchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    try {
        const Playlists playlists = decodedPlaylists(fuzz::bytesOf(data, size));
        fuzz::require(decodedPlaylists(encodedPlaylists(playlists)) == playlists,
                      "what was written reads as what it was");
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::format, "the form is what is wrong");
    }
    return 0;
}
