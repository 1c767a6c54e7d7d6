#include <gmock/gmock.h>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {
namespace {

TEST(FileUrl, TakesPathsApart) {
    struct Case {
        const char* given;
        const char* path;
        const char* last;
        const char* extension;
        const char* withoutExtension;
        const char* parent;
    };
    const std::vector<Case> cases = {
        {"/m/a.b.mp3", "/m/a.b.mp3", "a.b.mp3", "mp3", "/m/a.b", "/m"},
        {"/m/plain", "/m/plain", "plain", "", "/m/plain", "/m"},
        {"/m.x/plain", "/m.x/plain", "plain", "", "/m.x/plain", "/m.x"},
        {"/m/.mp3", "/m/.mp3", ".mp3", "", "/m/.mp3", "/m"},
        {"/m/.a.mp3", "/m/.a.mp3", ".a.mp3", "mp3", "/m/.a", "/m"},
        {"/m/a.", "/m/a.", "a.", "", "/m/a.", "/m"},
        {"/m/..", "/m/..", "..", "", "/m/..", "/m"},
        {"/m/a.MP3/", "/m/a.MP3", "a.MP3", "MP3", "/m/a", "/m"},
        {"/m//", "/m", "m", "", "/m", "/"},
        {"//m//n", "//m//n", "n", "", "//m//n", "//m"},
        {"/", "/", "/", "", "/", "/"},
        {"///", "/", "/", "", "/", "/"},
        {"a.ogg", "a.ogg", "a.ogg", "ogg", "a", ""},
        {"", "", "", "", "", ""},
        {"/m/\xe9\xff.mp3", "/m/\xe9\xff.mp3", "\xe9\xff.mp3", "mp3", "/m/\xe9\xff", "/m"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.given);
        const FileUrl url{QByteArray(c.given)};
        EXPECT_EQ(url.path(), c.path);
        EXPECT_EQ(url.lastPathComponent(), c.last);
        EXPECT_EQ(url.pathExtension(), c.extension);
        EXPECT_EQ(url.deletingPathExtension().path(), c.withoutExtension);
        EXPECT_EQ(url.deletingLastPathComponent().path(), c.parent);
    }
}

TEST(FileUrl, StandardizesByNameAlone) {
    struct Case {
        const char* given;
        const char* standard;
    };
    const std::vector<Case> cases = {
        {"/a/./b/../c", "/a/c"}, {"/a//b", "/a/b"}, {"/../a", "/a"},
        {"/a/..", "/"},          {"/..", "/"},      {"../a", "../a"},
        {"a/../../b", "../b"},   {"./a", "a"},      {"/a/.hidden/..x/...", "/a/.hidden/..x/..."},
        {"/a/.", "/a"},          {"/", "/"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.given);
        EXPECT_EQ(FileUrl(QByteArray(c.given)).standardized().path(), c.standard);
    }
}

TEST(FileUrl, JoinsComponents) {
    EXPECT_EQ(FileUrl("/").appendingPathComponent("a").path(), "/a");
    EXPECT_EQ(FileUrl("/m").appendingPathComponent("a/").path(), "/m/a");
    EXPECT_EQ(FileUrl().appendingPathComponent("a").path(), "a");
    EXPECT_THAT(FileUrl("/m//n").pathComponents(),
                testing::ElementsAre(QByteArray("/"), QByteArray("m"), QByteArray("n")));
    EXPECT_TRUE(FileUrl().pathComponents().isEmpty());
}

TEST(FileUrl, EveryByteSurvivesTheEncodedForm) {
    QByteArray path = "/";
    for (int byte = 1; byte < 256; ++byte) {
        path.append(static_cast<char>(byte));
    }
    const FileUrl url(path + "end");
    const QByteArray encoded = url.encoded();
    for (const char letter : encoded) {
        EXPECT_TRUE(letter > ' ' && letter < 127);
    }
    EXPECT_EQ(FileUrl::fromEncoded(encoded), url);
    EXPECT_EQ(FileUrl("/a b#c?d%20/\xc3\xa9").encoded(), "file:///a%20b%23c%3Fd%2520/%C3%A9");
}

TEST(FileUrl, ReadsOnlyUrlsOfLocalFiles) {
    const std::vector<QByteArray> same = {"file:///a%20b", "file://localhost/a%20b",
                                          "FILE://LocalHost/a%20b", "file:/a%20b", "file:///a b"};
    for (const QByteArray& text : same) {
        EXPECT_EQ(FileUrl::fromEncoded(text), FileUrl("/a b")) << text.constData();
    }
    const std::vector<QByteArray> refused = {"",
                                             "/a",
                                             "http://localhost/a",
                                             "file:",
                                             "file://",
                                             "file://host/a",
                                             "file:a/b",
                                             "file://localhostile/a",
                                             "file:///etc/passwd%00.mp3",
                                             "file:///100%",
                                             "file:///100%4",
                                             "file:///100%.mp3",
                                             "file:///%4g"};
    for (const QByteArray& text : refused) {
        EXPECT_EQ(FileUrl::fromEncoded(text), std::nullopt) << text.constData();
    }
}

}  // namespace
}  // namespace halvenor
