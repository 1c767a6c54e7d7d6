#include "platform/media/MediaAsset.h"

#include <algorithm>
#include <sys/stat.h>

#include "base/Error.h"
#include "base/LateLibrary.h"
#include "platform/decode/StreamInfo.h"

namespace halvenor {

namespace {

// TagLib costs every start milliseconds and memory, so the readers that need it lie in a library of
// their own, which is loaded with the first tag.
constinit const LateLibrary tagReaders("libhalvenor-tagreaders.so",
                                       "The part of Halvenor that reads tags is not installed.");
constinit const LateFunction<void(ByteSource&, MediaAsset&)> readTagItems(tagReaders,
                                                                          "halvenorReadTagItems");

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
    } catch (const Error& error) {
        if (error.kind() == ErrorKind::unavailable) {
            qWarning("%s", error.what());  // A part of the program is missing, not of the file.
        }
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
    readPart([&] { readTagItems(*bytes, asset); });
    readPart([&] { readStreams(bytes, asset); });
    return asset;
}

}  // namespace halvenor
