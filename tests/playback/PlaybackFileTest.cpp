#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "EngineFixture.h"
#include "playback/PlaybackFile.h"

using namespace halvenor;
using namespace halvenor::test;

namespace {

const QByteArray mp4Head(
    "\0\0\0\x20"
    "ftypM4A ",
    12);

class PlaybackFileTest : public testing::Test {
  protected:
    PlaybackFileTest() { qputenv("TMPDIR", temporary_.url().path()); }
    ~PlaybackFileTest() override { qunsetenv("TMPDIR"); }

    FileUrl place(const QByteArray& name) const { return music_.at(name); }
    /// Refuses all names that don't end in ".m4a", and remembers what it was asked for.
    FileOpener pickyOpener() {
        return [this](const FileUrl& url) -> std::shared_ptr<AudioFile> {
            asked_.push_back(url);
            if (url.pathExtension() != "m4a" || isRefusingAll_) {
                throw Error(ErrorKind::unsupported, QString::fromLatin1(url.pathExtension()));
            }
            return makeNoise({44100, 2}, 10, 1);
        };
    }
    std::string failureOf(const FileUrl& url) {
        try {
            openForPlayback(url, pickyOpener());
        } catch (const Error& error) {
            return error.text().toStdString();
        }
        return "none";
    }

    TemporaryFolder temporary_;
    TemporaryFolder music_;
    std::vector<FileUrl> asked_;
    bool isRefusingAll_ = false;
};

}  // namespace

TEST_F(PlaybackFileTest, OffersAnMp4UnderASecondNameWhileItLives) {
    const FileUrl url = music_.makeFile("song.bin", mp4Head);
    {
        PlaybackFile opened =
            openForPlayback(place("Album").appendingPathComponent("../song.bin"), pickyOpener());
        ASSERT_EQ(asked_.size(), 2U);
        EXPECT_EQ(asked_[0], url) << "standardised";
        ASSERT_TRUE(opened.alias);
        EXPECT_EQ(asked_[1], opened.alias->url());
        EXPECT_EQ(std::filesystem::read_symlink(asked_[1].path().toStdString()),
                  url.path().toStdString());

        // Moved about as a schedule moves its entries, it stays; put in its place, the new one
        // does.
        PlaybackFile moved = std::move(opened);
        EXPECT_EQ(aliases().size(), 1U);
        PlaybackFile other = openForPlayback(url, pickyOpener());
        EXPECT_EQ(aliases().size(), 2U);
        moved = std::move(other);
        other = PlaybackFile();
        EXPECT_EQ(aliases().size(), 1U);
        EXPECT_EQ(aliases().front(), moved.alias->url().lastPathComponent().toStdString());
    }
    EXPECT_THAT(aliases(), testing::IsEmpty());
}

TEST_F(PlaybackFileTest, MakesNoAliasForOtherFilesNorLeavesOneBehind) {
    EXPECT_EQ(failureOf(music_.makeFile("text.bin", "No audio at all")), "bin");
    EXPECT_EQ(asked_.size(), 1U);

    EXPECT_FALSE(openForPlayback(music_.makeFile("fine.m4a", mp4Head), pickyOpener()).alias);

    music_.makeFile("broken.bin", mp4Head);
    isRefusingAll_ = true;
    EXPECT_EQ(failureOf(place("broken.bin")), "m4a") << "the second failure is the one to tell";
    EXPECT_THAT(aliases(), testing::IsEmpty());

    // Where no alias can be made that is the failure.
    qputenv("TMPDIR", place("text.bin").path());
    EXPECT_EQ(failureOf(place("broken.bin")), Error::fromErrno(ENOTDIR).text().toStdString());
}

TEST_F(PlaybackFileTest, KnowsAnMp4ByItsFirstBytes) {
    const std::vector<std::pair<QByteArray, bool>> cases = {
        {mp4Head, true},       {mp4Head.left(8), true},        {mp4Head.left(7), false},
        {QByteArray(), false}, {QByteArray("ftypftyp"), true}, {QByteArray("ftypabcd"), false},
    };
    for (const auto& [content, expected] : cases) {
        EXPECT_EQ(isMP4Container(music_.makeFile("head", content)), expected)
            << content.toHex().constData();
    }
    EXPECT_FALSE(isMP4Container(place("missing")));
    EXPECT_FALSE(isMP4Container(music_.url())) << "a folder";
    ASSERT_EQ(::mkfifo(place("pipe").path().constData(), 0600), 0);
    EXPECT_FALSE(isMP4Container(place("pipe"))) << "a pipe that nobody writes to must not block";
}

TEST_F(PlaybackFileTest, RemovesOnlyTheLinksThatACrashLeft) {
    PlaybackAlias::removeLeftovers();  // no folder yet
    const FileUrl directory = PlaybackAlias::directory();
    std::filesystem::create_directories(directory.path().toStdString());
    const auto link = [&](const char* name) {
        ASSERT_EQ(::symlink(place("gone").path().constData(),
                            directory.appendingPathComponent(name).path().constData()),
                  0);
    };
    link("left.m4a");
    link("another.m4a");
    link("foreign.txt");
    std::ofstream(directory.appendingPathComponent("file.m4a").path().toStdString()) << "kept";
    PlaybackAlias::removeLeftovers();
    EXPECT_THAT(aliases(), testing::UnorderedElementsAre("foreign.txt", "file.m4a"));
}
