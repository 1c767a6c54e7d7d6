// Whether every format gives the very frames that its encoder was given, no more and no less.

#include <cstring>

#include "platform/decode/Decoding.h"

namespace halvenor::test {

namespace {

constexpr int64_t musicFrames = 150001;

class EveryKind : public testing::TestWithParam<MediaKind> {};

TEST_P(EveryKind, ToldLengthIsTheDecodedOneAtEverySize) {
    const MediaKind& kind = GetParam();
    for (const int64_t frames :
         {int64_t{100}, int64_t{576}, int64_t{1152}, int64_t{2304}, int64_t{5000}, musicFrames}) {
        SCOPED_TRACE(frames);
        const FileUrl url = MediaLibrary::shared().file(kind.name, frames);
        const auto file = AudioFile::open(url);
        const auto info = readStreamInfo(url);
        ASSERT_TRUE(info.has_value());
        EXPECT_TRUE(info->isExact);
        EXPECT_EQ(info->frames, file->length());
        EXPECT_EQ(info->format, file->processingFormat());
        EXPECT_EQ(info->format.sampleRate, kind.outputRate > 0 ? kind.outputRate : 44100);

        const std::vector<float> decoded = readAll(*file);
        EXPECT_EQ(static_cast<int64_t>(decoded.size()), file->length() * info->format.channels);
        float more = 0;
        EXPECT_EQ(file->read(&more, 1), 0);
        if (kind.isLengthKept) {
            EXPECT_EQ(file->length(), frames);
        }
        if (kind.isLossless) {
            EXPECT_EQ(firstDifference(decoded, makeSignal(frames).samples), -1);
        } else if (kind.isLengthKept && frames > 4000) {
            EXPECT_LT(relativeError(decoded, makeSignal(frames).samples), 0.2);
        }
    }
}

TEST_P(EveryKind, MonoAndOtherRatesAreKept) {
    const MediaKind& kind = GetParam();
    const FileUrl url = MediaLibrary::shared().file(kind.name, 40001, 48000, 1);
    const auto file = AudioFile::open(url);
    EXPECT_EQ(file->processingFormat(),
              (AudioFormat{kind.outputRate > 0 ? kind.outputRate : 48000, 1}));
    const std::vector<float> decoded = readAll(*file);
    EXPECT_EQ(static_cast<int64_t>(decoded.size()), file->length());
    if (kind.isLengthKept) {
        EXPECT_EQ(file->length(), 40001);
        EXPECT_LT(relativeError(decoded, makeSignal(40001, 48000, 1).samples), 0.5);
    }
}

INSTANTIATE_TEST_SUITE_P(All, EveryKind, testing::ValuesIn(mediaKinds()), caseName);

/// A signal cut at an odd place into two files comes out whole: nothing between, nothing missing.
TEST(Joins, TwoHalvesMakeTheWhole) {
    const Signal whole = makeSignal(120000);
    constexpr int64_t cut = 50003;
    for (const MediaKind& kind : mediaKinds()) {
        if (!kind.isLengthKept) {
            continue;
        }
        SCOPED_TRACE(kind.name);
        const FileUrl first = MediaLibrary::shared().place("first");
        const FileUrl second = MediaLibrary::shared().place("second");
        kind.write(first, whole.part(0, cut));
        kind.write(second, whole.part(cut, whole.frames() - cut));
        std::vector<float> joined = decodeAll(first);
        ASSERT_EQ(joined.size(), static_cast<size_t>(cut * 2));
        const std::vector<float> rest = decodeAll(second);
        joined.insert(joined.end(), rest.begin(), rest.end());
        ASSERT_EQ(joined.size(), whole.samples.size());
        if (kind.isLossless) {
            EXPECT_EQ(firstDifference(joined, whole.samples), -1);
            continue;
        }
        // Aligned on both sides of the join: a shift by one frame would already fail here.
        const Signal around{joined, 44100, 2};
        for (const int64_t begin : {cut - 3000, cut}) {
            EXPECT_LT(
                relativeError(around.part(begin, 3000).samples, whole.part(begin, 3000).samples),
                0.25);
        }
    }
}

/// An independent decoder, trimming by itself, gives the same samples.
TEST(Joins, SamplesAreThoseOfAnotherProgram) {
    for (const char* name : {"mp3", "mp3 lame V2", "mp3 lame 128", "mp3 lame untagged", "vorbis",
                             "ogg oggenc", "flac 24", "mp3 lame mono 8"}) {
        SCOPED_TRACE(name);
        const FileUrl url = MediaLibrary::shared().file(name, musicFrames);
        const QByteArray raw = outputOf("ffmpeg -v error -i FILE -f f32le -", url.path());
        std::vector<float> reference(static_cast<size_t>(raw.size()) / sizeof(float));
        std::memcpy(reference.data(), raw.constData(), reference.size() * sizeof(float));
        EXPECT_EQ(firstDifference(decodeAll(url), reference), -1);
    }
}

/// What some decoders get wrong: a whole Vorbis stream on one page of audio.
TEST(Joins, ShortVorbisIsAlignedToo) {
    for (const int64_t frames : {1, 100, 1152, 5000}) {
        SCOPED_TRACE(frames);
        const FileUrl url = MediaLibrary::shared().file("ogg oggenc", frames);
        const QByteArray raw = outputOf("oggdec -Q -R -o - FILE", url.path());
        const std::vector<float> decoded = decodeAll(url);
        ASSERT_EQ(decoded.size() * 2, static_cast<size_t>(raw.size()));
        for (size_t i = 0; i < decoded.size(); ++i) {
            int16_t sample = 0;
            std::memcpy(&sample, raw.constData() + 2 * i, 2);
            ASSERT_NEAR(decoded[i], sample / 32768.0, 2.0 / 32768) << i;
        }
    }
}

TEST(Joins, OneFrameIsOneFrame) {
    for (const char* name : {"wav s16", "aiff", "flac 16", "alac", "aac mp4", "mp3 lame V2",
                             "mp3 lame 128", "vorbis", "ogg oggenc"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(decodeAll(MediaLibrary::shared().file(name, 1)).size(), 2u);
    }
}

TEST(Opening, TakesNamesOfAnyBytesAndSurvivesTheirLoss) {
    const FileUrl url =
        written("caf\xe9 \xff: 100%?.mp3", readBytes(MediaLibrary::shared().file("mp3", 20000)));
    const auto file = AudioFile::open(url);
    ASSERT_EQ(std::remove(url.path().constData()), 0);
    EXPECT_EQ(readAll(*file).size(), 40000u);
}

TEST(Opening, ManyChannelsAreKeptInOrder) {
    const FileUrl url = MediaLibrary::shared().place("six.wav");
    const Signal signal = makeSignal(5000, 48000, 6);
    for (const char* kind : {"wav f32", "flac 16"}) {
        mediaKind(kind).write(url, signal);
        EXPECT_EQ(firstDifference(decodeAll(url), signal.samples), -1) << kind;
    }
}

}  // namespace

}  // namespace halvenor::test
