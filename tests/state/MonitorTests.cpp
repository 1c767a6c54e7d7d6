// What arrives at the sound server when a folder is played: its sink's monitor is recorded and
// compared with the music, frame by frame, from the first file to the last.
#include <cstring>
#include <gtest/gtest.h>

#include "platform/audio/Outputs.h"
#include "state/AppState.h"
#include "support/EventLoop.h"
#include "support/MediaLibrary.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

constexpr AudioFormat cd{44100, 2};

struct Album {
    const char* name;
    std::vector<std::string> kinds;  // one track of each, cut from one signal
};

// What the file holds: its own samples where nothing is lost; otherwise what the ffmpeg program
// decodes, cut at the length that went in. (The program plays the padding of AAC, too.)
std::vector<float> musicOf(const FileUrl& file, const MediaKind& kind, const Signal& part) {
    if (kind.isLossless) {
        return part.samples;
    }
    const QByteArray decoded =
        runProgram({QStringLiteral("ffmpeg"), QStringLiteral("-v"), QStringLiteral("error"),
                    QStringLiteral("-i"), QString::fromUtf8(file.path()), QStringLiteral("-f"),
                    QStringLiteral("f32le"), QStringLiteral("-")});
    std::vector<float> samples(part.samples.size());
    EXPECT_GE(static_cast<size_t>(decoded.size()), samples.size() * sizeof(float));
    std::memcpy(samples.data(), decoded.constData(), samples.size() * sizeof(float));
    return samples;
}

class RecordedMonitor : public testing::TestWithParam<Album> {};

TEST_P(RecordedMonitor, isTheMusicFrameByFrame) {
    const Album& album = GetParam();
    const TemporaryFolder music;
    music.makeFolder("album");
    const Signal whole = makeSignal(30011 + 20021 + 40037 + 25013);
    std::vector<float> expected;
    int64_t begin = 0;
    const std::vector<int64_t> lengths{30011, 20021, 40037, 25013};
    for (size_t i = 0; i < lengths.size(); ++i) {
        const MediaKind& kind = mediaKind(album.kinds[i % album.kinds.size()]);
        const Signal part = whole.part(begin, lengths[i]);
        const FileUrl file = music.at("album/" + QByteArray::number(static_cast<int>(i)) + "." +
                                      QByteArray::fromStdString(kind.extension));
        kind.write(file, part);
        const std::vector<float> samples = musicOf(file, kind, part);
        expected.insert(expected.end(), samples.begin(), samples.end());
        begin += lengths[i];
    }

    SoundServer server(cd);
    SoundRecorder recorder(server);
    AppState state(AppState::Dependencies(makeSystemOutput(QStringLiteral("Halvenor")),
                                          music.at("settings.json"), music.at("data"),
                                          [] { return SystemAppearance::dark; }));
    state.openDirectory(music.at("album"));
    ASSERT_TRUE(spinUntil([&] { return state.playbackQueue->size() == 4; }));
    state.play(state.playbackQueue->first());
    ASSERT_TRUE(spinUntil([&] { return state.playbackHistory->size() == 4; }));
    const Comparison result = compare(expected, recorder.finish(), cd.channels);
    EXPECT_TRUE(result.isExact(whole.frames())) << result.text();
    EXPECT_FALSE(state.playbackErrorMessage->has_value());
}

INSTANTIATE_TEST_SUITE_P(Albums, RecordedMonitor,
                         testing::Values(Album{"lossless", {"flac 16", "wav s16", "aiff", "alac"}},
                                         Album{"mp3", {"mp3 lame V2"}},
                                         Album{"vorbis", {"ogg oggenc"}},
                                         Album{"aac", {"aac mp4"}}),
                         [](const auto& one) { return one.param.name; });

}  // namespace
}  // namespace halvenor::test
