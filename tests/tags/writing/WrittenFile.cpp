#include "tags/writing/WrittenFile.h"

#include <filesystem>

#include "support/MediaLibrary.h"

namespace halvenor::test {

QByteArray hex(const char* digits) {
    return QByteArray::fromHex(digits);
}

std::set<std::string> namesIn(const FileUrl& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path().toStdString())) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

QByteArray rewritten(const ID3TagFields& fields, const QByteArray& source, const char* name) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile(name, source);
    const std::string failure = failureOf([&] {
        if (file.pathExtension() == "flac") {
            FLACTagWriter::write(fields, file);
        } else {
            ID3Writer::write(fields, file);
        }
    });
    EXPECT_EQ(namesIn(folder.url()), std::set<std::string>{name});
    if (failure.empty()) {
        return readBytes(file);
    }
    EXPECT_EQ(readBytes(file), source) << failure;
    return "error: " + QByteArray::fromStdString(failure);
}

void expectRewritten(const std::vector<RewriteCase>& cases, const char* fileName,
                     const QByteArray& before, const QByteArray& after) {
    for (const RewriteCase& each : cases) {
        const bool isRefused = each.expected.startsWith("error: ");
        EXPECT_EQ(rewritten(each.fields, before + each.source + after, fileName).toHex(' '),
                  (isRefused ? each.expected : before + each.expected + after).toHex(' '))
            << each.name;
    }
}

ID3TagFields titleEdit(const QString& title) {
    ID3TagFields fields;
    fields.title = title;
    return fields;
}

ID3TagFields fullEdit() {
    ID3TagFields fields;
    fields.title = QStringLiteral("T");
    fields.artist = QStringLiteral("Ä");
    fields.album = QStringLiteral("");
    fields.albumArtist = QStringLiteral("\U0001F3B5");
    fields.year = 1999;
    return fields;
}

ID3TagFields largeEdit() {
    ID3TagFields fields = fullEdit();
    fields.artworkData = QByteArray(70'000, 'j');
    fields.artworkMimeType = QStringLiteral("image/jpeg");
    return fields;
}

}  // namespace halvenor::test
