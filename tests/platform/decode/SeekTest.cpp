// Reading after a seek gives the samples of reading straight through.

#include <random>

#include "platform/decode/Decoding.h"

namespace halvenor::test {

namespace {

constexpr int64_t musicFrames = 400003;

class SeekEveryKind : public testing::TestWithParam<MediaKind> {};

/// Places anywhere, with those near both ends among them.
std::vector<int64_t> targetsIn(int64_t length) {
    std::vector<int64_t> targets = {length - 1, 0,          1, length - 1153, 1151,
                                    1152,       length / 2, 3, length - 5000};
    std::minstd_rand random(7);
    std::uniform_int_distribution<int64_t> anywhere(0, length - 1);
    for (int i = 0; i < 40; ++i) {
        targets.push_back(anywhere(random));
    }
    return targets;
}

TEST_P(SeekEveryKind, GivesTheSameSamplesAsReadingThrough) {
    const FileUrl url = MediaLibrary::shared().file(GetParam().name, musicFrames);
    const std::vector<float> all = decodeAll(url);
    const auto file = AudioFile::open(url);
    const int64_t channels = file->processingFormat().channels;
    for (const int64_t target : targetsIn(file->length())) {
        SCOPED_TRACE(target);
        file->seek(target);
        const std::vector<float> got = readFrames(*file, 6000);
        const int64_t rest = std::min<int64_t>(6000, file->length() - target);
        ASSERT_EQ(static_cast<int64_t>(got.size()), rest * channels);
        const std::vector<float> wanted(all.begin() + target * channels,
                                        all.begin() + (target + rest) * channels);
        if (GetParam().isSeekExact) {
            EXPECT_EQ(firstDifference(got, wanted), -1);
        } else {
            EXPECT_LT(relativeError(got, wanted), 1e-3);
        }
    }
}

TEST_P(SeekEveryKind, EndsAtTheEndAndComesBackFromIt) {
    const FileUrl url = MediaLibrary::shared().file(GetParam().name, musicFrames);
    const auto file = AudioFile::open(url);
    const std::vector<float> all = readAll(*file);
    for (const int64_t beyond : {file->length(), file->length() + 1, int64_t{1} << 50}) {
        file->seek(beyond);
        EXPECT_TRUE(readFrames(*file, 100).empty());
    }
    file->seek(0);
    EXPECT_EQ(firstDifference(readAll(*file, 100000), all), -1);
}

// Short enough for one packet of most codecs. Playing begins with a seek to the beginning.
TEST_P(SeekEveryKind, FindsItsWayInAFileOfOnePacket) {
    const FileUrl url = MediaLibrary::shared().file(GetParam().name, 500);
    const std::vector<float> all = decodeAll(url);
    ASSERT_FALSE(all.empty());
    for (const int64_t target : {0, 333, 1}) {
        const auto file = AudioFile::open(url);
        const int64_t channels = file->processingFormat().channels;
        file->seek(target);
        const std::vector<float> wanted(all.begin() + target * channels, all.end());
        const std::vector<float> got = readAll(*file);
        ASSERT_EQ(got.size(), wanted.size()) << target;
        EXPECT_LT(relativeError(got, wanted), GetParam().isSeekExact ? 1e-9 : 1e-3) << target;
    }
}

INSTANTIATE_TEST_SUITE_P(All, SeekEveryKind, testing::ValuesIn(mediaKinds()), caseName);

}  // namespace

}  // namespace halvenor::test
