// Files that are not what they should be end in an Error or end early; nothing crashes or hangs.

#include <QElapsedTimer>

#include <numeric>
#include <random>

#include "base/Error.h"
#include "platform/decode/DecodedFile.h"
#include "platform/decode/Decoding.h"

namespace halvenor::test {

namespace {

constexpr int64_t musicFrames = 300001;

/// Decodes what can be decoded. @return frames, -1 when the file is refused
int64_t framesOf(const FileUrl& url) {
    try {
        const auto file = AudioFile::open(url);
        const auto channels = static_cast<size_t>(file->processingFormat().channels);
        return static_cast<int64_t>(readAll(*file).size() / channels);
    } catch (const Error& error) {
        EXPECT_FALSE(error.text().isEmpty());
        EXPECT_FALSE(readStreamInfo(url).has_value() && error.kind() == ErrorKind::io);
        return -1;
    }
}

QByteArray randomBytes(qsizetype count, unsigned seed) {
    std::minstd_rand random(seed);
    QByteArray bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random() >> 8);
    }
    return bytes;
}

TEST(NotAudio, IsRefusedUnderEveryName) {
    const QByteArray id3 = QByteArray("ID3\4\0\0\0\0\0\x10", 10) + QByteArray(16, '\0');
    const QByteArray contents[] = {{},
                                   "x",
                                   "RIFF",
                                   "OggS",
                                   "fLaC",
                                   QByteArray("\xff\xfb\x90\x00", 4),
                                   id3,
                                   QByteArray(100000, '\0'),
                                   "RIFF\x10\0\0\0WAVEfmt ",
                                   "Only words, no music at all. " + QByteArray(5000, '-'),
                                   QByteArray(20000, '\xff'),
                                   randomBytes(300000, 1),
                                   randomBytes(300000, 2),
                                   id3 + randomBytes(100000, 3)};
    for (const char* extension :
         {"mp3", "m4a", "flac", "wav", "aiff", "aif", "aac", "ogg", "alac"}) {
        for (const QByteArray& content : contents) {
            const FileUrl url = written(QByteArray("fake.") + extension, content);
            EXPECT_EQ(framesOf(url), -1)
                << extension << ' '
                << content.first(std::min<qsizetype>(content.size(), 12)).toHex().constData();
            EXPECT_FALSE(readStreamInfo(url).has_value());
        }
    }
}

TEST(NotAudio, FoldersAndAbsentFilesAreErrorsOfTheSystem) {
    for (const char* path : {"/", "/nowhere/at/all.mp3", "/dev/null"}) {
        try {
            AudioFile::open(FileUrl(path));
            ADD_FAILURE() << path;
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::io);
        }
        EXPECT_FALSE(readStreamInfo(FileUrl(path)).has_value());
    }
}

TEST(WrongName, ContentDecides) {
    for (const MediaKind& kind : mediaKinds()) {
        SCOPED_TRACE(kind.name);
        const FileUrl right = MediaLibrary::shared().file(kind.name, musicFrames);
        const std::string wrong = kind.extension == "mp3" ? "flac" : "mp3";
        const FileUrl url = written(("wrong." + wrong).c_str(), readBytes(right));
        EXPECT_EQ(firstDifference(decodeAll(url), decodeAll(right)), -1);
    }
}

TEST(CutShort, GivesTheBeginningAndEnds) {
    for (const MediaKind& kind : mediaKinds()) {
        const FileUrl whole = MediaLibrary::shared().file(kind.name, musicFrames);
        const QByteArray bytes = readBytes(whole);
        const std::vector<float> all = decodeAll(whole);
        for (const double share : {0.01, 0.3, 0.5, 0.9, 0.999}) {
            SCOPED_TRACE(kind.name + " " + std::to_string(share));
            const auto left = static_cast<qsizetype>(double(bytes.size()) * share);
            const FileUrl url = written("cut", bytes.first(left));
            if (framesOf(url) < 0) {
                continue;  // Without its index an MP4 is nothing.
            }
            const std::vector<float> got = decodeAll(url);
            ASSERT_LE(got.size(), all.size());
            EXPECT_GE(double(got.size()), double(all.size()) * (share - 0.25));
            // The codec's last frames may lean on what is gone.
            const auto sure = static_cast<ptrdiff_t>(got.size() > 8192 ? got.size() - 8192 : 0);
            EXPECT_EQ(firstDifference({got.begin(), got.begin() + sure},
                                      {all.begin(), all.begin() + sure}),
                      -1);
        }
    }
}

/// A few hundred bytes of rubbish in the middle: the music before and after is where it was.
TEST(Hole, LeavesTheRestInPlace) {
    for (const MediaKind& kind : mediaKinds()) {
        SCOPED_TRACE(kind.name);
        const FileUrl whole = MediaLibrary::shared().file(kind.name, musicFrames);
        const std::vector<float> all = decodeAll(whole);
        QByteArray bytes = readBytes(whole);
        const qsizetype at = bytes.size() / 2;
        bytes.replace(at, 700, randomBytes(700, 5));
        const auto file = AudioFile::open(written("hole", bytes));
        const std::vector<float> got = readAll(*file);
        const size_t quarter = all.size() / 4;
        EXPECT_EQ(firstDifference({got.begin(), got.begin() + ptrdiff_t(quarter)},
                                  {all.begin(), all.begin() + ptrdiff_t(quarter)}),
                  -1);
        if (kind.extension != "mp3" && kind.extension != "aac") {
            // Bare frames have no times of their own: lost ones are missing.
            ASSERT_EQ(got.size(), all.size());
            EXPECT_LT(relativeError({got.end() - 8192, got.end()}, {all.end() - 8192, all.end()}),
                      1e-3);
        }
    }
}

TEST(ChangeInside, IsBroughtToTheFirstFormat) {
    for (const char* name : {"mp3 lame untagged", "aac adts", "mp2"}) {
        SCOPED_TRACE(name);
        const QByteArray stereo = readBytes(MediaLibrary::shared().file(name, 44100));
        const QByteArray mono = readBytes(MediaLibrary::shared().file(name, 48000, 48000, 1));
        const FileUrl url = written("both", stereo + mono + stereo);
        const auto file = AudioFile::open(url);
        EXPECT_EQ(file->processingFormat(), (AudioFormat{44100, 2}));
        const std::vector<float> all = readAll(*file);
        // Three seconds and what the encoders add.
        const auto frames = static_cast<int64_t>(all.size() / 2);
        EXPECT_GT(frames, 3 * 44100);
        EXPECT_LT(frames, 3 * 44100 + 3 * 4 * 1152);
        EXPECT_NEAR(double(file->length()), double(frames), 100);
        EXPECT_FALSE(readStreamInfo(url)->isExact);
        const std::vector<float> second(all.begin() + 2 * 50000, all.begin() + 2 * 80000);
        const double power = std::inner_product(second.begin(), second.end(), second.begin(), 0.0);
        EXPECT_GT(power / double(second.size()), 0.01);
        file->seek(2 * 44100 + 30000);
        EXPECT_EQ(readFrames(*file, 5000).size(), 10000u);
    }
}

/// Bytes changed, cut out and doubled anywhere, headers above all.
TEST(Mutations, NeverCrashNorHang) {
    const char* const seconds = std::getenv("HALVENOR_MUTATION_SECONDS");
    const qint64 budget = 1000 * (seconds != nullptr ? std::atoll(seconds) : 6);
    std::vector<QByteArray> seeds;
    for (const MediaKind& kind : mediaKinds()) {
        seeds.push_back(readBytes(MediaLibrary::shared().file(kind.name, 9001)));
    }
    std::minstd_rand random(static_cast<unsigned>(budget));
    const auto below = [&](qsizetype limit) {
        return static_cast<qsizetype>(random() %
                                      static_cast<unsigned long>(std::max<qsizetype>(limit, 1)));
    };
    QElapsedTimer clock;
    clock.start();
    std::vector<float> samples;
    for (size_t round = 0; clock.elapsed() < budget; ++round) {
        QByteArray bytes = seeds[round % seeds.size()];
        const qsizetype changes = 1 + below(8);
        for (qsizetype i = 0; i < changes; ++i) {
            const qsizetype reach =
                below(2) == 0 ? std::min<qsizetype>(bytes.size(), 512) : bytes.size();
            const qsizetype at = below(reach);
            switch (below(5)) {
                case 0:
                    bytes.remove(at, below(64));
                    break;
                case 1:
                    bytes.insert(at, bytes.mid(below(bytes.size()), below(64)));
                    break;
                case 2:
                    bytes.replace(at, 4, QByteArray(4, below(2) == 0 ? '\xff' : '\0'));
                    break;
                default:
                    if (at < bytes.size()) {
                        bytes[at] = static_cast<char>(below(256));
                    }
            }
        }
        QElapsedTimer each;
        each.start();
        try {
            DecodedFile file(std::make_shared<MemoryBytes>(
                std::span(reinterpret_cast<const uint8_t*>(bytes.constData()),
                          static_cast<size_t>(bytes.size()))));
            samples.resize(static_cast<size_t>(4096 * file.processingFormat().channels));
            // Hostile lengths are long; a real reader stops when its listener does.
            for (int reads = 0; reads < 50 && file.read(samples.data(), 4096) > 0; ++reads) {
            }
            file.seek(file.length() / 2);
            file.read(samples.data(), 4096);
        } catch (const Error&) {
        }
        ASSERT_LT(each.elapsed(), 3000) << "round " << round;
    }
}

}  // namespace

}  // namespace halvenor::test
