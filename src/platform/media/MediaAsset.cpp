#include "platform/media/MediaAsset.h"

#include <algorithm>
#include <array>
#include <sys/stat.h>

#include "platform/decode/StreamInfo.h"
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

void readStreams(const std::shared_ptr<ByteSource>& bytes, MediaAsset& asset) {
    const auto info = readStreamInfo(bytes);
    if (!info || info->format.sampleRate <= 0) {
        return;
    }
    const double sampleRate = info->format.sampleRate;
    asset.duration = static_cast<double>(std::max<int64_t>(0, info->frames)) / sampleRate;
    asset.audioTracks.push_back({{{sampleRate}}, info->dataRate});
}

// A file that may not be opened still has a size.
int64_t sizeWithoutOpening(const FileUrl& url) {
    struct stat status {};
    const bool isFile = ::stat(url.path().constData(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? status.st_size : 0;
}

// Damaged tags can ask for memory that isn't there, and whatever is wrong with one part of a file,
// the others still tell what they can: what a part found before it failed counts.
template <class Part>
void readPart(Part part) {
    try {
        part();
    } catch (const std::exception&) {
    }
}

}  // namespace

MediaAsset MediaAsset::open(const FileUrl& url) {
    MediaAsset asset;
    std::shared_ptr<ByteSource> bytes;
    readPart([&] { bytes = std::make_shared<FileBytes>(url); });
    if (!bytes) {
        asset.fileSize = sizeWithoutOpening(url);
        return asset;
    }
    asset.fileSize = bytes->size();
    ItemSink sink;
    readPart([&] { readItems(*bytes, sink); });
    sink.moveInto(asset);
    readPart([&] { readStreams(bytes, asset); });
    return asset;
}

}  // namespace halvenor
