#include "support/TagEdit.h"

#include <algorithm>

namespace halvenor::fuzz {

namespace {

// Two bytes for a unit, so that halves of surrogate pairs come up, too.
QString units(const QByteArray& bytes) {
    QString text;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        text += QChar(bytes[i], bytes[i + 1]);
    }
    return text;
}

}  // namespace

TagEdit::TagEdit(const QByteArray& input)
    : file(input.first(std::max<qsizetype>(0, input.size() - bytes))) {
    const QByteArray edit = input.last(std::min(bytes, input.size())).leftJustified(bytes, '\0');
    const int present = edit[0];
    if ((present & 1) != 0) {
        fields.title = units(edit.sliced(4, 8));
    }
    if ((present & 2) != 0) {
        fields.artist = units(edit.sliced(12, 4));
    }
    if ((present & 4) != 0) {
        fields.album = QString::fromLatin1(edit.sliced(8, 8));
    }
    if ((present & 8) != 0) {
        fields.albumArtist = QString();
    }
    if ((present & 16) != 0) {
        fields.year = static_cast<int64_t>(edit[1]) * 256 + static_cast<uint8_t>(edit[2]);
    }
    if ((present & 32) != 0) {
        // As much of the file as its size byte tells: images in the input reach the header reader.
        const qsizetype size = static_cast<uint8_t>(edit[3]) * qsizetype{16};
        fields.artworkData = file.last(std::min(size, file.size()));
        fields.artworkMimeType =
            (present & 64) != 0 ? units(edit.last(4)) : QStringLiteral("image/png");
    }
}

bool isReadBackAsItIs(const QString& title) {
    return !title.isEmpty() && title.isValidUtf16() &&
           std::ranges::all_of(title, [](QChar unit) { return unit.isLetterOrNumber(); });
}

}  // namespace halvenor::fuzz
