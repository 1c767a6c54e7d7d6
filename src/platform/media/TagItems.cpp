// The entry of the library that holds the readers of tags.
#include <array>

#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

bool isMp4(const uint8_t* start) {
    // QuickTime's older files begin without the type atom.
    const uint8_t* code = start + 4;
    return isCode(code, "ftyp") || isCode(code, "moov") || isCode(code, "mdat") ||
           isCode(code, "wide") || isCode(code, "free") || isCode(code, "skip");
}

void readMpegOrUnknown(ByteSource& bytes, ItemSink& sink) {
    readId3v1Items(bytes, sink);
    readApeItems(bytes, sink);
    readId3v2Items(bytes, 0, sink);
}

// The kind of file by what stands at its beginning, or behind an ID3v2 tag.
void readItems(ByteSource& bytes, ItemSink& sink) {
    const int64_t begin = id3v2TagSize(bytes, 0);
    std::array<uint8_t, 12> start{};
    bytes.read(begin, start);
    const uint8_t* p = start.data();
    if (isCode(p, "fLaC")) {
        readId3v1Items(bytes, sink);
        readId3v2Items(bytes, 0, sink);
        readFlacItems(bytes, begin, sink);
    } else if (begin == 0 && isCode(p, "OggS")) {
        readOggItems(bytes, sink);
    } else if (begin == 0 && (isCode(p, "RIFF") || isCode(p, "RF64")) && isCode(p + 8, "WAVE")) {
        readWaveItems(bytes, sink);
    } else if (begin == 0 && isCode(p, "FORM") &&
               (isCode(p + 8, "AIFF") || isCode(p + 8, "AIFC"))) {
        readAiffItems(bytes, sink);
    } else if (begin == 0 && isMp4(p)) {
        readMp4Items(bytes, sink);
    } else {
        readMpegOrUnknown(bytes, sink);
    }
}

}  // namespace

/// Reads the items of every kind of tag in `bytes` into `asset`. What was found before something
/// failed counts.
/// @throws std::exception when a tag is damaged beyond what its reader passes over
extern "C" [[gnu::visibility("default")]] void halvenorReadTagItems(ByteSource& bytes,
                                                                    MediaAsset& asset) {
    ItemSink sink;
    try {
        readItems(bytes, sink);
    } catch (...) {
        sink.moveInto(asset);
        throw;
    }
    sink.moveInto(asset);
}

}  // namespace halvenor
