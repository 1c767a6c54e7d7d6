#include <gmock/gmock.h>
#include <vector>

#include "base/Error.h"
#include "playlists/M3U.h"

namespace halvenor {
namespace {

using testing::Property;
using testing::Throws;

TEST(M3U, EveryLineThatIsNoCommentIsAPath) {
    const FileUrl folder("/home/ada");
    struct Case {
        QByteArray text;
        QList<QByteArray> paths;
    };
    const std::vector<Case> cases = {
        {"", {}},
        {"#EXTM3U\n", {}},
        {"\n\r\n \t\n", {}},
        {"#EXTM3U\r\n#EXTINF:12,A - B\r\n/m/1.mp3\r\n\r\n/m/2.mp3\r\n", {"/m/1.mp3", "/m/2.mp3"}},
        {"/m/1\r/m/2\n/m/3\v/m/4\f/m/5\xC2\x85/m/6\xE2\x80\xA8/m/7\xE2\x80\xA9/m/8",
         {"/m/1", "/m/2", "/m/3", "/m/4", "/m/5", "/m/6", "/m/7", "/m/8"}},
        {"\xEF\xBB\xBF/m/1.mp3\n", {"/m/1.mp3"}},
        {"\xEF\xBB\xBF#EXTM3U\n/m/\xEF\xBB\xBFx", {"/m/\xEF\xBB\xBFx"}},
        {" \xC2\xA0\t/m/a b.mp3 \xE3\x80\x80\n  # no path\n", {"/m/a b.mp3"}},
        {"/m/%20#1?.mp3\n/m/a\\b\n", {"/m/%20#1?.mp3", "/m/a\\b"}},
        {"/m/1\n/m/1\n/m/./../x/\n", {"/m/1", "/m/1", "/m/./../x"}},
        {"\xC3\xA9 \xF0\x9D\x84\x9E.mp3", {"/home/ada/\xC3\xA9 \xF0\x9D\x84\x9E.mp3"}},
        {"a/b.mp3\n./c\n../d\n~/e\n",
         {"/home/ada/a/b.mp3", "/home/ada/c", "/home/d", "/home/ada/~/e"}},
        {"file:///m/1.mp3", {"/home/ada/file:/m/1.mp3"}},
    };
    for (const Case& each : cases) {
        QList<QByteArray> paths;
        for (const FileUrl& file : filesFromM3U(each.text, folder)) {
            paths.append(file.path());
        }
        EXPECT_EQ(paths, each.paths) << each.text.constData();
    }
}

TEST(M3U, TextThatIsNotUtf8IsRefused) {
    const FileUrl folder("/home/ada");
    for (const QByteArray& text :
         {QByteArray("/m/caf\xE9.mp3\n"), QByteArray("\xFF\xFE/\0m\0", 6),
          QByteArray("/\0m\0\n\0", 6), QByteArray("/m/\xED\xA0\x80"), QByteArray("/m/\xC3")}) {
        EXPECT_THAT([&] { filesFromM3U(text, folder); },
                    Throws<Error>(Property(&Error::kind, ErrorKind::format)))
            << text.toPercentEncoding().constData();
    }
}

TEST(M3U, WritesTheBytesOfEachPathAndReadsThemBack) {
    EXPECT_EQ(m3uFromFiles({}), "#EXTM3U\n");
    const QList<FileUrl> files = {FileUrl("/m/100% \"#?\".mp3"), FileUrl("/m/#"), FileUrl("/m/#"),
                                  FileUrl("/m/\xC3\xA9\x01\x1B\x7F")};
    EXPECT_EQ(m3uFromFiles(files),
              "#EXTM3U\n/m/100% \"#?\".mp3\n/m/#\n/m/#\n/m/\xC3\xA9\x01\x1B\x7F\n");
    EXPECT_EQ(filesFromM3U(m3uFromFiles(files), FileUrl("/")), files);
    EXPECT_EQ(m3uFromFiles({FileUrl("/m/caf\xE9\x85")}), "#EXTM3U\n/m/caf\xE9\x85\n");
}

TEST(M3U, APathWithANewlineIsNotWritten) {
    for (const char* newline :
         {"\n", "\r", "\v", "\f", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
        const QList<FileUrl> files = {FileUrl("/m/a"), FileUrl(QByteArray("/m/b") + newline + "c")};
        EXPECT_THAT([&] { m3uFromFiles(files); },
                    Throws<Error>(Property(&Error::kind, ErrorKind::format)))
            << QByteArray(newline).toPercentEncoding().constData();
    }
}

}  // namespace
}  // namespace halvenor
