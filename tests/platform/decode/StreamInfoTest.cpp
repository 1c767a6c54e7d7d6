// Headers alone: data rates, and lengths of files that tell them badly.

#include <QtEndian>

#include "platform/decode/Decoding.h"

namespace halvenor::test {

namespace {

constexpr int64_t frames = 150001;

TEST(DataRate, IsThatOfTheAudioAlone) {
    struct Case {
        const char* kind;
        double least, most;
    };
    const Case cases[] = {
        {"wav s16", 1411200, 1411200},
        {"wav s24 extensible", 2116800, 2116800},
        {"aiff", 1411200, 1411200},
        {"mp3 lame 128", 128000, 128000},
        {"mp3 lame untagged", 128000, 128000},
        {"mp3 lame mono 8", 8000, 8000},
        {"mp3 lame V2", 90000, 260000},
        {"mp3 lame untagged V5", 60000, 200000},
        {"flac 16", 500000, 1400000},
        {"alac", 500000, 1400000},
        {"aac mp4", 100000, 160000},
        {"aac adts", 100000, 160000},
        {"vorbis", 60000, 200000},
        {"opus", 50000, 200000},
    };
    for (const Case& c : cases) {
        const auto info = readStreamInfo(MediaLibrary::shared().file(c.kind, frames));
        ASSERT_TRUE(info) << c.kind;
        EXPECT_GE(info->dataRate, c.least) << c.kind;
        EXPECT_LE(info->dataRate, c.most) << c.kind;
    }
}

TEST(DataRate, IsNotMovedByTags) {
    const QByteArray plain = readBytes(MediaLibrary::shared().file("mp3 lame V2", frames));
    const auto reference = readStreamInfo(written("plain", plain));
    // 100,000 bytes of ID3v2 in front; APEv2 and ID3v1 behind.
    QByteArray front = QByteArray("ID3\4\0\0\0\6\x0d\x20", 10);
    front.append(100000, 'x');
    const QByteArray ape = QByteArray(20, 'y') + QByteArray("APETAGEX\xd0\7\0\0", 12) +
                           QByteArray("\x34\0\0\0\1\0\0\0", 8) + QByteArray(12, '\0');
    const QByteArray id3v1 = "TAG" + QByteArray(125, ' ');
    const auto tagged = readStreamInfo(written("tagged", front + plain + ape + id3v1));
    ASSERT_TRUE(tagged);
    EXPECT_EQ(tagged->frames, reference->frames);
    EXPECT_DOUBLE_EQ(tagged->dataRate, reference->dataRate);
}

/// Streams whose header was written before anybody knew the length.
TEST(UntoldLength, IsFoundAtTheEnd) {
    const FileUrl source = MediaLibrary::shared().file("wav s16", frames);
    for (const char* command :
         {"ffmpeg -v error -i FILE -f flac -", "ffmpeg -v error -i FILE -f wav -"}) {
        SCOPED_TRACE(command);
        const FileUrl url = written("piped", outputOf(command, source.path()));
        const auto info = readStreamInfo(url);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->frames, frames);
        EXPECT_EQ(firstDifference(decodeAll(url), makeSignal(frames).samples), -1);
    }
}

TEST(UntoldLength, FramesOfFreeFormatAreCounted) {
    const FileUrl source = MediaLibrary::shared().file("wav s16", frames);
    const auto info = readStreamInfo(
        written("free.mp3", outputOf("lame --quiet --freeformat -b 400 -t FILE -", source.path())));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->frames, (frames + 1105 + 1151) / 1152 * 1152);
    EXPECT_NEAR(info->dataRate, 400000, 1000);
}

/// The table in the first frame can be wrong for the bytes behind it.
TEST(StaleTable, JoinedFilesHaveTheLengthOfBoth) {
    const QByteArray one = readBytes(MediaLibrary::shared().file("mp3 lame V2", frames));
    const FileUrl url = written("joined.mp3", one + one);
    const auto file = AudioFile::open(url);
    EXPECT_GT(file->length(), 2 * frames);
    EXPECT_LT(file->length(), 2 * frames + 4 * 1152);
    EXPECT_EQ(static_cast<int64_t>(readAll(*file).size()), file->length() * 2);
}

TEST(StaleTable, CutFileHasTheLengthOfWhatIsLeft) {
    const QByteArray whole = readBytes(MediaLibrary::shared().file("mp3 lame V2", frames));
    const FileUrl url = written("cut.mp3", whole.first(whole.size() / 2));
    const auto file = AudioFile::open(url);
    EXPECT_LT(file->length(), frames * 6 / 10);
    const std::vector<float> samples = readAll(*file);
    EXPECT_EQ(static_cast<int64_t>(samples.size()), file->length() * 2);
    EXPECT_LT(relativeError(samples, makeSignal(frames).samples), 0.2);
}

}  // namespace

}  // namespace halvenor::test
