#include "platform/media/MediaAsset.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sys/stat.h>

#include "base/Error.h"
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

void readStreams(const FileUrl& url, MediaAsset& asset) {
    const auto info = readStreamInfo(url);
    if (!info || info->format.sampleRate <= 0) {
        return;
    }
    asset.duration =
        static_cast<double>(std::max<int64_t>(0, info->frames)) / info->format.sampleRate;
    asset.audioTracks.push_back({{{static_cast<double>(info->format.sampleRate)}}, info->dataRate});
}

// A file that may not be opened still has a size.
int64_t sizeWithoutOpening(const FileUrl& url) {
    struct stat status {};
    const bool isFile = ::stat(url.path().constData(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? status.st_size : 0;
}

}  // namespace

MediaAsset MediaAsset::open(const FileUrl& url) {
    MediaAsset asset;
    ItemSink sink;
    try {
        FileBytes bytes(url);
        asset.fileSize = bytes.size();
        readItems(bytes, sink);
    } catch (const Error&) {
        asset.fileSize = sizeWithoutOpening(url);
    } catch (const std::exception&) {
        // Memory that a damaged tag asked for was refused: what was found before it counts.
    }
    sink.moveInto(asset);
    try {
        readStreams(url, asset);
    } catch (const std::exception&) {
        // As for a file whose headers tell nothing.
    }
    return asset;
}

}  // namespace halvenor
