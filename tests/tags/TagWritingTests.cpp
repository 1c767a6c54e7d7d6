#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "base/AtomicFile.h"
#include "base/FileDescriptor.h"
#include "base/FileStatus.h"
#include "model/ID3WriterError.h"
#include "support/EventLoop.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"
#include "tags/TagReading.h"
#include "tags/TagService.h"
#include "tags/TagWriting.h"

namespace halvenor {
namespace {

using test::runToCompletion;
using test::TemporaryFolder;

const QByteArray png = QByteArray("\x89PNG\r\n\x1a\n") + "rest";

Track trackOf(const FileUrl& url, const QByteArray& artwork = {}) {
    TrackFields fields;
    fields.url = url;
    fields.title = QStringLiteral("Café \U0001F3B5");
    fields.artist = QStringLiteral("");
    fields.album = QStringLiteral("B");
    fields.albumArtist = QStringLiteral("C");
    fields.year = 1999;
    if (!artwork.isEmpty()) {
        fields.artworkData = Artwork(artwork);
    }
    return Track(fields);
}

FileUrl write(const Track& track) {
    const auto job = TagService::shared().writeMetadata(track);
    return runToCompletion(job);
}

TEST(TagWriting, fillsTheFieldsOfAnEdit) {
    struct Case {
        const char* name;
        QByteArray artwork;
        const char* mimeType;
    };
    const Case cases[] = {{"PNG", png, "image/png"},
                          {"its first four bytes", png.left(4), "image/png"},
                          {"three are not enough", png.left(3), "image/jpeg"},
                          {"JPEG", "\xff\xd8\xff", "image/jpeg"},
                          {"anything else", "GIF89a", "image/jpeg"},
                          {"none", {}, "image/jpeg"}};
    for (const Case& each : cases) {
        const ID3TagFields fields = tagFieldsOf(trackOf(FileUrl("/a.mp3"), each.artwork));
        EXPECT_EQ(fields.artworkMimeType.toUtf8(), each.mimeType) << each.name;
        EXPECT_EQ(fields.artworkData.has_value(), !each.artwork.isEmpty()) << each.name;
        EXPECT_EQ(fields.artworkData.value_or(QByteArray()), each.artwork) << each.name;
    }
    TrackFields bare;
    bare.url = FileUrl("/m/Song.flac");
    const ID3TagFields fields = tagFieldsOf(Track(bare));
    EXPECT_EQ(fields.title, QStringLiteral("Song"));
    EXPECT_EQ(fields.artist, QStringLiteral("Unknown Artist"));
    EXPECT_EQ(fields.album, QStringLiteral("Unknown Album"));
    EXPECT_EQ(fields.albumArtist, QStringLiteral("Unknown Artist"));
    EXPECT_FALSE(fields.year || fields.artworkData);
}

TEST(TagWriting, whatIsWrittenIsReadBack) {
    const TemporaryFolder folder;
    const QByteArray tagged =
        test::id3Tag(4, test::id3Text(4, "TCON", QStringLiteral("Rock")) +
                            test::id3Text(4, "TDRC", QStringLiteral("1970-01-02")) +
                            test::id3Text(4, "TRCK", QStringLiteral("5/12"))) +
        test::mp3Frames(20);
    const QByteArray commented = test::flacFile({test::flacBlock(
        4, test::vorbisComments({"GENRE=Rock", "DATE=1970-01-02", "TRACKNUMBER=5/12"}))});
    const FileUrl files[] = {folder.makeFile("a.mp3", tagged), folder.makeFile("b.FLAC", commented),
                             folder.makeFile("\xe9\xff.Mp3", test::mp3Frames(20)),
                             folder.makeFile("\xff.flac", test::flacFile({}))};
    for (const FileUrl& file : files) {
        const Track before = readTrack(file);
        const Track written = trackOf(file, png);
        EXPECT_EQ(write(written), file);
        const Track after = readTrack(file);
        EXPECT_EQ(after.title(), written.title()) << file.path().constData();
        EXPECT_EQ(after.album(), written.album());
        EXPECT_EQ(after.albumArtist(), written.albumArtist());
        EXPECT_EQ(after.year(), 1999);
        EXPECT_EQ(after.artworkData(), written.artworkData());
        EXPECT_EQ(after.genre(), before.genre());
        EXPECT_EQ(after.trackNumber(), before.trackNumber());
        EXPECT_EQ(after.duration(), before.duration());
        EXPECT_EQ(after.sampleRate(), before.sampleRate());

        // Without artwork of its own the track leaves the file's alone.
        write(trackOf(file));
        EXPECT_EQ(readTrack(file).artworkData(), written.artworkData());
    }
}

TEST(TagWriting, writesOneAfterTheOther) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("a.mp3", test::mp3Frames(10));
    test::EventLoopTicker ticker;
    std::vector<Job<FileUrl>> jobs;
    for (int i = 0; i < 50; ++i) {
        Track track = trackOf(file);
        track.setTitle(QString::number(i));
        jobs.push_back(TagService::shared().writeMetadata(track));
    }
    for (const auto& job : jobs) {
        EXPECT_EQ(runToCompletion(job), file);
    }
    EXPECT_EQ(readTrack(file).title(), QStringLiteral("49"));
    EXPECT_LT(ticker.longestStall(), 1000);
}

TEST(TagWriting, failsWithTheWritersErrors) {
    const TemporaryFolder folder;
    const auto failureOf = [](const FileUrl& file) {
        try {
            write(trackOf(file));
        } catch (const ID3WriterError& error) {
            return error.message().toStdString() + (error.message().isEmpty() ? "not an MP3" : "");
        }
        return std::string();
    };
    EXPECT_EQ(failureOf(folder.makeFile("a.wav", "fLaC")), "not an MP3");
    EXPECT_EQ(failureOf(folder.makeFile("mp3", "")), "not an MP3");
    EXPECT_EQ(failureOf(folder.at("gone.ogg")), "not an MP3");
    EXPECT_EQ(failureOf(folder.at("gone.mp3")), "Could not read file: No such file or directory");
    EXPECT_EQ(failureOf(folder.makeFolder("folder.flac")),
              "Could not read file: Not a regular file");
    EXPECT_EQ(failureOf(folder.makeFile("a.flac", "OggSOggS")), "Invalid FLAC file");
    std::stop_source source;
    source.request_stop();
    const auto job = TagService::shared().writeMetadata(trackOf(folder.makeFile("b.mp3", "audio")),
                                                        source.get_token());
    EXPECT_THROW(runToCompletion(job), Cancelled);
    EXPECT_EQ(readFile(folder.at("b.mp3")), "audio");
}

// What a killed process has left beside the files goes with the next write; everything else that
// only looks like it stays.
TEST(TagWriting, removesWhatKilledProcessesLeft) {
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("a.mp3", test::mp3Frames(10));
    const QByteArray abandoned = ".halvenor-1234567890abcdef.tmp";
    const QByteArray locked = ".halvenor-1.tmp";
    const QByteArray young = ".halvenor-2.tmp";
    const QByteArray twice = ".halvenor-3.tmp";
    const QByteArrayList kept = {
        locked, young, twice, ".halvenor-x.tmp", ".halvenor-.tmp", ".halvenor-4", "halvenor-5.tmp"};
    for (const QByteArray& name : kept + QByteArrayList{abandoned}) {
        const FileUrl made = folder.makeFile(name, "half a file");
        const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
        if (name != young) {
            ASSERT_EQ(::utimensat(AT_FDCWD, made.path().constData(), longAgo, 0), 0);
        }
    }
    ASSERT_EQ(::link(folder.path(twice).constData(), folder.path("kept.mp3").constData()), 0);
    const FileDescriptor writer(::open(folder.path(locked).constData(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
    folder.makeFolder(".halvenor-6.tmp");

    write(trackOf(file));

    EXPECT_FALSE(itemExists(folder.at(abandoned)));
    for (const QByteArray& name : kept + QByteArrayList{".halvenor-6.tmp"}) {
        EXPECT_TRUE(itemExists(folder.at(name))) << name.constData();
    }
}

}  // namespace
}  // namespace halvenor
