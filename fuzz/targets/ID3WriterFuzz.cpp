// An MP3 file with any tag, and any edit: what the writer accepts must be one new tag of whole
// frames, with all that followed the old one behind it, and must be the same when written again.
#include <QtEndian>

#include "base/AtomicFile.h"
#include "model/ID3WriterError.h"
#include "support/ScratchFile.h"
#include "support/TagEdit.h"
#include "tags/TagReading.h"
#include "tags/writing/ID3Writer.h"

namespace {

using namespace halvenor;
using fuzz::require;

// Whether every frame is one that readers go on behind: they need not follow us over others.
bool areFramesOrdinary(QByteArrayView frames) {
    while (!frames.isEmpty()) {
        require(frames.size() >= 10, "frames are whole");
        const auto size = qFromBigEndian<quint32>(frames.data() + 4);
        require(frames.size() - 10 >= qsizetype{size}, "frames end inside the tag");
        const bool isNamed = std::ranges::all_of(frames.first(4), [](char letter) {
            return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
        });
        if (!isNamed || size == 0 || frames[8] != 0 || frames[9] != 0) {
            return false;
        }
        frames = frames.sliced(10 + qsizetype{size});
    }
    return true;
}

// Beginnings that make the file another one than an MP3 with one tag.
bool isPlainAudio(QByteArrayView audio) {
    return !audio.startsWith("ID3") && !audio.startsWith("fLaC");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::TagEdit edit(fuzz::bytesOf(data, size));
    static const FileUrl file = fuzz::scratchFile("track.mp3");
    fuzz::fill(file, edit.file);
    const int64_t oldTag = ID3Writer::existingID3v2TagSize(edit.file);
    try {
        ID3Writer::write(edit.fields, file);
    } catch (const ID3WriterError&) {
        require(oldTag > edit.file.size(), "only impossible tags are refused");
        require(readFile(file) == edit.file, "a refused file is left alone");
        return 0;
    }
    const QByteArray written = readFile(file);
    const int64_t newTag = ID3Writer::existingID3v2TagSize(written);
    require(written.startsWith(QByteArrayView("ID3\3\0\0", 6)), "the tag is plain 2.3");
    require(newTag <= written.size(), "the tag ends inside the file");
    require(written.sliced(newTag) == edit.file.sliced(oldTag), "the audio is kept");
    const bool isOrdinary = areFramesOrdinary(QByteArrayView(written).sliced(10, newTag - 10));

    if (edit.fields.title && fuzz::isReadBackAsItIs(*edit.fields.title) && isOrdinary &&
        isPlainAudio(QByteArrayView(written).sliced(newTag))) {
        require(readTrack(file).title() == *edit.fields.title, "the title is read back");
    }
    ID3Writer::write(edit.fields, file);
    require(readFile(file) == written, "writing again changes nothing");
    return 0;
}
