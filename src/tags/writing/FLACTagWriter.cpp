// The blocks of a FLAC file. Their payloads are made in FLACPayloads.cpp.
#include "tags/writing/FLACTagWriter.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "model/ID3WriterError.h"
#include "tags/writing/TagFile.h"

namespace halvenor {

namespace {

constexpr int64_t signatureSize = 4;
constexpr int64_t blockHeaderSize = 4;
constexpr int64_t maximumPayload = 0xffffff;
constexpr uint8_t lastBlockFlag = 0x80;

enum BlockType : uint8_t { padding = 1, vorbisComment = 4, picture = 6 };

struct Block {
    uint8_t type = 0;
    int64_t begin = 0;  ///< of its header, in bytes from the start of the file
    int64_t end = 0;    ///< of its payload

    int64_t payloadBegin() const { return begin + blockHeaderSize; }
    int64_t payloadSize() const { return end - payloadBegin(); }
};

/// What must be known of a file's blocks. They can be too many to keep them all.
struct Layout {
    int64_t firstEnd = 0;
    std::optional<Block> comments;
    std::optional<Block> picture;
    std::optional<Block> padding;
    Block last;
};

/// A change to the metadata: bytes in the place of those from `begin` to `end`.
struct Edit {
    int64_t begin = 0;
    int64_t end = 0;
    std::vector<QByteArray> bytes;
};

[[noreturn]] void fail(const char* message) {
    throw ID3WriterError::ioError(QString::fromLatin1(message));
}

using BlockHeader = std::array<uint8_t, blockHeaderSize>;

// Calls `visit` for each block. `headerAt` gives the four bytes at a place inside the file.
// @return where the audio begins
template <class HeaderAt, class Visit>
int64_t walkBlocks(int64_t size, HeaderAt headerAt, Visit visit) {
    int64_t cursor = signatureSize;
    for (;;) {
        if (cursor + blockHeaderSize > size) {
            fail("Invalid FLAC metadata");
        }
        const BlockHeader header = headerAt(cursor);
        const int64_t length = int64_t{header[1]} << 16 | header[2] << 8 | header[3];
        const int64_t end = cursor + blockHeaderSize + length;
        if (end > size) {
            fail("Invalid FLAC metadata block");
        }
        visit(Block{static_cast<uint8_t>(header[0] & ~lastBlockFlag), cursor, end});
        cursor = end;
        if ((header[0] & lastBlockFlag) != 0) {
            return cursor;
        }
    }
}

void requireSignature(QByteArrayView start) {
    if (start.size() < signatureSize + blockHeaderSize || !start.startsWith("fLaC")) {
        fail("Invalid FLAC file");
    }
}

BlockHeader headerIn(QByteArrayView data, int64_t place) {
    BlockHeader header{};
    std::copy_n(data.data() + place, header.size(), header.begin());
    return header;
}

/// Reads headers from a file, several at a time where they lie close together.
class HeaderWindow {
  public:
    explicit HeaderWindow(const TagFile& file) : file_(file) {}

    BlockHeader operator()(int64_t place) {
        if (place < begin_ || place + blockHeaderSize > begin_ + bytes_.size()) {
            bytes_ = file_.read(place, 4096);
            begin_ = place;
        }
        return headerIn(bytes_, place - begin_);
    }

  private:
    const TagFile& file_;
    QByteArray bytes_;
    int64_t begin_ = 0;
};

Layout readLayout(QByteArrayView data) {
    Layout layout;
    const auto headerAt = [data](int64_t place) { return headerIn(data, place); };
    walkBlocks(data.size(), headerAt, [&layout](const Block& block) {
        const auto keepFirst = [&block](std::optional<Block>& place) {
            place = place ? place : block;
        };
        if (layout.firstEnd == 0) {
            layout.firstEnd = block.end;
        }
        switch (block.type) {
            case vorbisComment:
                keepFirst(layout.comments);
                break;
            case picture:
                keepFirst(layout.picture);
                break;
            case padding:
                keepFirst(layout.padding);
                break;
            default:
                break;
        }
        layout.last = block;
    });
    return layout;
}

// A whole block; its header lacks the flag of the last one.
std::vector<QByteArray> blockBytes(BlockType type, QByteArray payload) {
    if (payload.size() > maximumPayload) {
        fail("FLAC metadata block is too large");
    }
    QByteArray header;
    FLACTagWriter::appendUInt32BE(uint32_t{type} << 24 | static_cast<uint32_t>(payload.size()),
                                  header);
    return {std::move(header), std::move(payload)};
}

// Behind the first block when there is none yet.
Edit editOfComments(const ID3TagFields& fields, QByteArrayView data, const Layout& layout) {
    const auto updates = FLACTagWriter::commentUpdates(fields);
    if (!layout.comments) {
        return {layout.firstEnd, layout.firstEnd,
                blockBytes(vorbisComment, FLACTagWriter::makeVorbisComments(updates))};
    }
    const Block& block = *layout.comments;
    const QByteArrayView payload = data.sliced(block.payloadBegin(), block.payloadSize());
    return {block.begin, block.end,
            blockBytes(vorbisComment, FLACTagWriter::updatingVorbisComments(payload, updates))};
}

// In front of the padding when there is none yet, or at the end.
Edit editOfPicture(const ID3TagFields& fields, const Layout& layout) {
    if (fields.artworkData->size() > maximumPayload) {
        fail("FLAC metadata block is too large");  // Before it is copied.
    }
    auto bytes = blockBytes(
        picture, FLACTagWriter::makePictureBlock(*fields.artworkData, fields.artworkMimeType));
    if (layout.picture) {
        return {layout.picture->begin, layout.picture->end, std::move(bytes)};
    }
    const int64_t place = layout.padding ? layout.padding->begin : layout.last.end;
    return {place, place, std::move(bytes)};
}

// Moves the flag of the last block to where it belongs after the edits, which are in order.
void moveLastBlockFlag(const Layout& layout, std::vector<Edit>& edits) {
    const Block& last = layout.last;
    Edit& tail = edits.back();
    if (tail.end != last.end) {
        return;
    }
    char& firstByte = *tail.bytes.front().begin();
    firstByte = static_cast<char>(static_cast<uint8_t>(firstByte) | lastBlockFlag);
    const bool isReplaced = std::ranges::any_of(
        edits, [&](const Edit& edit) { return edit.end > last.begin && edit.begin == last.begin; });
    if (!isReplaced) {
        const auto behind =
            std::ranges::find_if(edits, [&](const Edit& edit) { return edit.begin > last.begin; });
        edits.insert(behind,
                     {last.begin, last.begin + 1, {QByteArray(1, static_cast<char>(last.type))}});
    }
}

std::vector<QByteArray> applied(std::vector<Edit> edits, QByteArrayView data, int64_t dataEnd) {
    std::vector<QByteArray> pieces;
    int64_t cursor = 0;
    const auto keepUntil = [&](int64_t place) {
        pieces.push_back(QByteArray::fromRawData(data.data() + cursor, place - cursor));
    };
    for (Edit& edit : edits) {
        keepUntil(edit.begin);
        std::ranges::move(edit.bytes, std::back_inserter(pieces));
        cursor = edit.end;
    }
    keepUntil(dataEnd);
    return pieces;
}

}  // namespace

void FLACTagWriter::write(const ID3TagFields& fields, const FileUrl& url) {
    TagFile file(url);
    requireSignature(file.read(0, signatureSize + blockHeaderSize));
    const int64_t audioBegin = walkBlocks(file.size(), HeaderWindow(file), [](const Block&) {});
    const QByteArray metadata = file.read(0, audioBegin);
    file.replace(rewrittenMetadata(fields, metadata), audioBegin);
}

std::vector<QByteArray> FLACTagWriter::rewrittenMetadata(const ID3TagFields& fields,
                                                         QByteArrayView data) {
    requireSignature(data);
    const Layout layout = readLayout(data);
    std::vector<Edit> edits{editOfComments(fields, data, layout)};
    if (fields.artworkData) {
        edits.push_back(editOfPicture(fields, layout));
    }
    // Where both begin at one place, the comments come first.
    std::ranges::stable_sort(edits, {}, &Edit::begin);
    moveLastBlockFlag(layout, edits);
    return applied(std::move(edits), data, layout.last.end);
}

int64_t FLACTagWriter::metadataSize(QByteArrayView data) {
    requireSignature(data);
    return readLayout(data).last.end;
}

}  // namespace halvenor
