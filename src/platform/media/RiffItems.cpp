// WAVE and AIFF are lists of chunks: a four-letter code, a 32-bit size (little-endian in RIFF,
// big-endian in AIFF), the payload, and a byte of filling after an odd size. Both keep an ID3v2 tag
// in a chunk of its own, besides simple texts of their own.
#include <algorithm>
#include <array>
#include <vector>

#include "platform/media/TagLibBridge.h"
#include "platform/media/TagReaders.h"

namespace halvenor {

namespace {

constexpr int64_t fileHeaderBytes = 12;  // RIFF, size, WAVE; or FORM, size, AIFF
constexpr int64_t maximumTextBytes = 64 << 10;
constexpr int maximumChunks = 100'000;

struct Chunk {
    QByteArray code;
    int64_t begin;
    int64_t size;
};

struct ChunkName {
    const char* code;
    const char* frame;
};
constexpr ChunkName infoNames[] = {
    {"INAM", "TIT2"}, {"IART", "TPE1"}, {"IPRD", "TALB"}, {"ICRD", "TDRC"},
    {"IGNR", "TCON"}, {"ITRK", "TRCK"}, {"IPRT", "TRCK"},
};
constexpr ChunkName aiffNames[] = {{"NAME", "TIT2"}, {"AUTH", "TPE1"}};

// `begin` to `end` as chunks; the last may claim more than there is.
std::vector<Chunk> chunksOf(ByteSource& bytes, int64_t begin, int64_t end,
                            uint32_t (*readSize)(const uint8_t*)) {
    std::vector<Chunk> chunks;
    std::array<uint8_t, 8> header;
    while (begin + 8 <= end && chunks.size() < maximumChunks && bytes.readFully(begin, header)) {
        const int64_t size = readSize(header.data() + 4);
        chunks.push_back({QByteArrayView(header).first(4).toByteArray(), begin + 8,
                          std::min(size, end - begin - 8)});
        begin += 8 + size + (size & 1);
    }
    return chunks;
}

template <size_t count>
void addTexts(ByteSource& bytes, const std::vector<Chunk>& chunks, MetadataFormat format,
              const ChunkName (&names)[count], ItemSink& sink) {
    for (const Chunk& chunk : chunks) {
        const auto* name =
            std::find_if(std::begin(names), std::end(names),
                         [&chunk](const ChunkName& each) { return chunk.code == each.code; });
        if (name == std::end(names)) {
            continue;
        }
        std::vector<uint8_t> raw(static_cast<size_t>(std::min(chunk.size, maximumTextBytes)));
        const int64_t got = bytes.read(chunk.begin, raw);
        const QByteArrayView view(raw.data(), static_cast<qsizetype>(got));
        sink.addText(format, *nameOfFrame(name->frame), {textOfUnknownEncoding(view)});
    }
}

void readId3v2Chunk(ByteSource& bytes, const std::vector<Chunk>& chunks, ItemSink& sink) {
    const auto found = std::find_if(chunks.begin(), chunks.end(), [](const Chunk& chunk) {
        return chunk.code.toUpper() == "ID3 ";
    });
    if (found != chunks.end()) {
        readId3v2Items(bytes, found->begin, sink);
    }
}

bool isInfoList(ByteSource& bytes, const Chunk& chunk) {
    std::array<uint8_t, 4> kind;
    return chunk.code == "LIST" && chunk.size >= 4 && bytes.readFully(chunk.begin, kind) &&
           isCode(kind.data(), "INFO");
}

}  // namespace

void readWaveItems(ByteSource& bytes, ItemSink& sink) {
    auto chunks = chunksOf(bytes, fileHeaderBytes, bytes.size(), le32);
    for (const Chunk& chunk : chunks) {
        if (isInfoList(bytes, chunk)) {
            const auto entries = chunksOf(bytes, chunk.begin + 4, chunk.begin + chunk.size, le32);
            addTexts(bytes, entries, MetadataFormat::riffInfo, infoNames, sink);
        }
    }
    readId3v2Chunk(bytes, chunks, sink);
}

void readAiffItems(ByteSource& bytes, ItemSink& sink) {
    const auto chunks = chunksOf(bytes, fileHeaderBytes, bytes.size(), be32);
    addTexts(bytes, chunks, MetadataFormat::aiffText, aiffNames, sink);
    readId3v2Chunk(bytes, chunks, sink);
}

}  // namespace halvenor
