// Any bytes as an audio file: reading its tags never fails, gives possible values, and the same
// ones every time.
#include <cmath>

#include "support/ScratchFile.h"
#include "tags/TagReading.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    using fuzz::require;
    static const FileUrl file = fuzz::scratchFile("track.mp3");
    fuzz::fill(file, fuzz::bytesOf(data, size));

    const Track track = readTrack(file);
    require(std::isfinite(track.duration()) && track.duration() >= 0, "durations are durations");
    require(track.fileSize() == static_cast<int64_t>(size), "the size is the file's");
    require(track.bitrate().value_or(0) >= 0, "no rate is below zero");
    require(track.sampleRate().value_or(1) > 0, "a rate is above zero");
    require(track.artworkData().bytes().size() <= static_cast<qsizetype>(size) * 8,
            "covers come from the file");
    require(readTrack(file) == track, "it reads the same again");
    return 0;
}
