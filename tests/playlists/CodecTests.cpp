#include <gmock/gmock.h>
#include <random>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "playlists/Playlist.h"

namespace halvenor {
namespace {

const QUuid firstId = QUuid::fromString(u"{0f8fad5b-d9cb-469f-a165-70867728950e}");
const QUuid secondId = QUuid::fromString(u"{7c9e6679-7425-40de-944b-e07fc1f90ae7}");

const QByteArray example =
    R"([{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","name":"AC\/DC \"live\"",)"
    R"("trackURLs":["file:\/\/\/m\/100%25%20%23%3F.mp3","file:\/\/\/m\/100%25%20%23%3F.mp3"]},)"
    R"({"id":"7C9E6679-7425-40DE-944B-E07FC1F90AE7","name":"","trackURLs":[]}])";

Playlists examplePlaylists() {
    const FileUrl file("/m/100% #?.mp3");
    return {{firstId, QStringLiteral("AC/DC \"live\""), {file, file}}, {secondId, QString(), {}}};
}

TEST(PlaylistCodec, WritesTheFormThatIsPromised) {
    EXPECT_EQ(encodedPlaylists(examplePlaylists()), example);
    EXPECT_EQ(encodedPlaylists({}), "[]");
    EXPECT_EQ(decodedPlaylists(example), examplePlaylists());
    EXPECT_EQ(decodedPlaylists("[]"), Playlists());
}

TEST(PlaylistCodec, TakesOtherLayoutsOrdersAndKeys) {
    const Playlists read = decodedPlaylists(R"(
        [ {"more": {"id": [1, {"trackURLs": 5}]}, "trackURLs": ["file:/a b", "FILE://localhost/c"],
           "name": "old", "id": "0f8fad5b-d9cb-469f-a165-70867728950e", "name": "new"} ] )");
    const Playlists expected{{firstId, QStringLiteral("new"), {FileUrl("/a b"), FileUrl("/c")}}};
    EXPECT_EQ(read, expected);
}

TEST(PlaylistCodec, KeepsEveryNameAndEveryPath) {
    QByteArray allBytes = "/m/";
    for (int byte = 1; byte < 256; ++byte) {
        allBytes.append(static_cast<char>(byte));
    }
    const QList<FileUrl> urls = {FileUrl(allBytes + "."), FileUrl("/"), FileUrl("/a/../b/./c"),
                                 FileUrl("//localhost/d"), FileUrl("/%00")};
    for (const QString& name :
         {QStringView(u"a\0b", 3).toString(), QStringLiteral("\uFEFFmarked"),
          QStringLiteral("\U0001D11E\u0001"), QStringLiteral("\uFFFE \u2028 \x7f")}) {
        const Playlists playlists{{firstId, name, urls}, {secondId, name, urls}};
        EXPECT_EQ(decodedPlaylists(encodedPlaylists(playlists)), playlists) << qPrintable(name);
    }
}

TEST(PlaylistCodec, AHalfSurrogateInANameCostsThatCharacterAlone) {
    for (const QString& name :
         {QStringView(u"a\xD834z").toString(), QStringView(u"a\xDD1Ez").toString()}) {
        const Playlists read = decodedPlaylists(encodedPlaylists({{firstId, name, {}}}));
        ASSERT_EQ(read.size(), 1);
        EXPECT_EQ(read[0].name, QStringLiteral("a?z"));
    }
}

TEST(PlaylistCodec, RefusesWhatIsNoArrayOfPlaylists) {
    const std::vector<QByteArray> texts = {
        "",
        "{}",
        "null",
        "[null]",
        "[[]]",
        example + "]",
        QByteArray(example).replace("\"id\"", "\"ID\""),
        QByteArray(example).replace("\"name\"", "\"title\""),
        QByteArray(example).replace("\"trackURLs\"", "\"tracks\""),
        QByteArray(example).replace("\"\"", "null"),
        QByteArray(example).replace("[]", "{}"),
        QByteArray(example).replace("[]", "[null]"),
        QByteArray(example).replace("[]", "[\"\\/m\\/a.mp3\"]"),
        QByteArray(example).replace("[]", "[\"http:\\/\\/host\\/a.mp3\"]"),
        QByteArray(example).replace("[]", "[\"file:\\/\\/\\/a%00\"]"),
        QByteArray(example).replace("[]", "[\"file:\\/\\/\\/a%2\"]"),
        QByteArray(example).replace("7C9E6679-", "7C9E6679"),
        QByteArray(example).replace("7C9E6679", "7C9E667"),
        QByteArray(example).replace("7C9E6679", "7C9E667G"),
        QByteArray(example).replace("7C9E6679-7425", "7C9E66797-425"),
        QByteArray(example).replace("\"7C9E6679-7425-40DE-944B-E07FC1F90AE7\"",
                                    "\"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}\""),
        QByteArray(example).replace("\"7C9E6679-7425-40DE-944B-E07FC1F90AE7\"", "7"),
    };
    for (const QByteArray& text : texts) {
        ASSERT_NE(text, example);
        try {
            decodedPlaylists(text);
            ADD_FAILURE() << text.constData();
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::format) << text.constData();
            EXPECT_TRUE(error.byteOffset()) << text.constData();
        }
    }
}

TEST(PlaylistCodec, WhatIsReadFromDamagedTextCanBeWrittenAndReadAgain) {
    std::mt19937 random(11);
    int taken = 0;
    for (int round = 0; round < 20'000; ++round) {
        QByteArray text = example;
        const auto at = static_cast<qsizetype>(random() % static_cast<size_t>(text.size()));
        constexpr std::string_view bytes = "\"\\/[]{},:%u0Fz \x01\x80";
        if (random() % 3 == 0) {
            text.truncate(at);
        } else {
            text[at] = bytes[random() % bytes.size()];
        }
        try {
            const Playlists read = decodedPlaylists(text);
            ++taken;
            ASSERT_EQ(decodedPlaylists(encodedPlaylists(read)), read) << text.constData();
        } catch (const Error& error) {
            ASSERT_EQ(error.kind(), ErrorKind::format) << text.constData();
        }
    }
    EXPECT_GT(taken, 500);
    EXPECT_LT(taken, 19'500);
}

}  // namespace
}  // namespace halvenor
