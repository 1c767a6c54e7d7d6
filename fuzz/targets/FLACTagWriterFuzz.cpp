// Any bytes as a FLAC file, and any edit: what the writer accepts must have whole blocks, the same
// audio behind them, the same blocks that the edit is not about, and must be the same when written
// again.
#include <vector>

#include "base/AtomicFile.h"
#include "model/ID3WriterError.h"
#include "support/ScratchFile.h"
#include "support/TagEdit.h"
#include "tags/TagReading.h"
#include "tags/writing/FLACTagWriter.h"

namespace {

using namespace halvenor;
using fuzz::require;

struct Block {
    int type = 0;
    QByteArray payload;

    bool operator==(const Block&) const = default;
};

// Of a file whose metadata has been found whole.
std::vector<Block> blocksOf(const QByteArray& file) {
    std::vector<Block> blocks;
    const int64_t end = FLACTagWriter::metadataSize(file);
    for (qsizetype place = 4; place < end;) {
        const auto byte = [&](qsizetype i) { return static_cast<uint8_t>(file[place + i]); };
        const qsizetype size = byte(1) << 16 | byte(2) << 8 | byte(3);
        require(((byte(0) & 0x80) != 0) == (place + 4 + size == end),
                "only the last block is last");
        blocks.push_back({byte(0) & 0x7f, file.sliced(place + 4, size)});
        place += 4 + size;
    }
    return blocks;
}

// Removes the first of a kind. @return whether there was one
bool removeFirst(std::vector<Block>& blocks, int type) {
    const auto found = std::ranges::find(blocks, type, &Block::type);
    if (found == blocks.end()) {
        return false;
    }
    blocks.erase(found);
    return true;
}

// What an edit leaves alone must be there in its order.
void requireOthersKept(const QByteArray& before, const QByteArray& after, bool hasArtwork) {
    std::vector<Block> old = blocksOf(before);
    std::vector<Block> now = blocksOf(after);
    removeFirst(old, 4);
    require(removeFirst(now, 4), "there are comments");
    if (hasArtwork) {
        removeFirst(old, 6);
        require(removeFirst(now, 6), "there is a picture");
    }
    require(old == now, "other blocks are kept");
}

bool hasOneCommentBlockBehindItsInfo(const QByteArray& file) {
    const std::vector<Block> blocks = blocksOf(file);
    return blocks.front().type == 0 && blocks.front().payload.size() == 34 &&
           std::ranges::count(blocks, 4, &Block::type) == 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::TagEdit edit(fuzz::bytesOf(data, size));
    static const FileUrl file = fuzz::scratchFile("track.flac");
    fuzz::fill(file, edit.file);
    try {
        FLACTagWriter::write(edit.fields, file);
    } catch (const ID3WriterError&) {
        require(readFile(file) == edit.file, "a refused file is left alone");
        return 0;
    }
    const QByteArray written = readFile(file);
    require(written.sliced(FLACTagWriter::metadataSize(written)) ==
                edit.file.sliced(FLACTagWriter::metadataSize(edit.file)),
            "the audio is kept");
    requireOthersKept(edit.file, written, edit.fields.artworkData.has_value());

    if (edit.fields.title && fuzz::isReadBackAsItIs(*edit.fields.title) &&
        hasOneCommentBlockBehindItsInfo(written)) {
        require(readTrack(file).title() == *edit.fields.title, "the title is read back");
    }
    FLACTagWriter::write(edit.fields, file);
    require(readFile(file) == written, "writing again changes nothing");
    return 0;
}
