// What arrives at the sound server when a folder is played: its sink's monitor is recorded and
// compared with the music, frame by frame, from the first file to the last.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>

#include "platform/audio/Outputs.h"
#include "state/AppState.h"
#include "support/EventLoop.h"
#include "support/MediaLibrary.h"
#include "support/Programs.h"
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
    const QByteArray decoded = outputOf("ffmpeg -v error -i FILE -f f32le -", file.path());
    std::vector<float> samples(part.samples.size());
    EXPECT_GE(static_cast<size_t>(decoded.size()), samples.size() * sizeof(float));
    std::memcpy(samples.data(), decoded.constData(), samples.size() * sizeof(float));
    return samples;
}

AppState::Dependencies realOutput(const TemporaryFolder& folder) {
    return AppState::Dependencies(makeSystemOutput(QStringLiteral("Halvenor")),
                                  folder.at("settings.json"), folder.at("data"),
                                  [] { return SystemAppearance::dark; });
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
    AppState state(realOutput(music));
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

// A Location of two folders with one track each, played in the mode that goes on from one into the
// next, on a server that is recorded. `emptyFolders` lie between the two: each is looked into on
// the way, so the search for the second takes its time.
class TwoFolders : public testing::Test {
  protected:
    void play(int64_t firstFrames, int emptyFolders) {
        mediaKind("flac 16").write(makeAlbum("a", "1.flac"), first_ = makeSignal(firstFrames));
        mediaKind("wav s16").write(makeAlbum("c", "2.wav"),
                                   second_ = makeSignal(20021, 44100, 2, 7));
        for (int i = 0; i < emptyFolders; ++i) {
            music_.makeFolder("lib/b/" + QByteArray::number(i));
        }
        state_.emplace(realOutput(music_));
        state_->openDirectory(music_.at("lib"));
        state_->openFolder(FolderItem(music_.at("lib/a"), true));
        ASSERT_TRUE(spinUntil([&] { return state_->playbackQueue->size() == 1; }));
        state_->repeatMode = RepeatMode::nextFolder;
        playing_ = engine().isPlaying.subscribe([this](bool on) {
            stops_ += wasPlaying_ && !on;
            wasPlaying_ = on;
        });
        state_->play(state_->playbackQueue->first());
    }
    /// Waits until both tracks have played, or been left. @return what was heard of them
    std::vector<float> recordToTheEnd() {
        EXPECT_TRUE(spinUntil([&] { return state_->playbackHistory->size() == 2; }));
        EXPECT_FALSE(state_->playbackErrorMessage->has_value());
        return recorder_.finish();
    }

    AudioEngineManager& engine() { return state_->audioEngine(); }
    bool isPrepared() { return engine().queuedTrack().has_value(); }
    std::vector<float> bothTracks() const {
        std::vector<float> samples = first_.samples;
        samples.insert(samples.end(), second_.samples.begin(), second_.samples.end());
        return samples;
    }

    /// Enough for a search that outlasts a track of a tenth of a second several times.
    static constexpr int slow = 12'000;

    TemporaryFolder music_{"/dev/shm"};
    SoundServer server_{cd};
    SoundRecorder recorder_{server_};
    Signal first_;
    Signal second_;
    std::optional<AppState> state_;
    int stops_ = 0;
    bool wasPlaying_ = false;
    Subscription playing_;

  private:
    FileUrl makeAlbum(const QByteArray& folder, const QByteArray& file) const {
        music_.makeFolder("lib/" + folder);
        return music_.at("lib/" + folder + '/' + file);
    }
};

TEST_F(TwoFolders, joinFrameByFrame) {
    play(30011, 0);
    ASSERT_TRUE(spinUntil([&] { return isPrepared(); }));
    const Comparison result = compare(bothTracks(), recordToTheEnd(), cd.channels);
    EXPECT_TRUE(result.isExact(30011 + 20021)) << result.text();
    EXPECT_EQ(stops_, 1) << "at the end of the library alone";
}

TEST_F(TwoFolders, goOnAfterAPauseWhereTheSearchTakesLongerThanTheMusic) {
    play(4410, slow);
    const Comparison result = compare(bothTracks(), recordToTheEnd(), cd.channels);
    ASSERT_GE(stops_, 2) << "the search was too fast for this test to say anything";
    EXPECT_EQ(result.gaps, 1) << result.text();
    EXPECT_EQ(result.firstMismatch, 4410) << "the pause lies between the tracks";
    EXPECT_EQ(result.matched, 4410 + 20021);
    EXPECT_EQ(result.lost + result.repeated + result.changed + result.excess, 0) << result.text();
}

class NextPressed : public TwoFolders, public testing::WithParamInterface<std::string> {};

TEST_P(NextPressed, cutsTheFirstTrackAndPlaysTheSecondWhole) {
    const std::string moment = GetParam();
    play(120'000, moment == "during" ? slow : 0);
    if (moment == "after") {
        ASSERT_TRUE(spinUntil([&] { return isPrepared(); }));
    }
    if (moment != "before") {
        ASSERT_TRUE(spinUntil([&] { return *engine().currentTime > 0.05; }));
    }
    ASSERT_EQ(isPrepared(), moment == "after");
    state_->playNext();
    const std::vector<float> heard = recordToTheEnd();

    // Whoever is quick enough hears nothing of the first.
    const auto sound = std::ranges::find_if(heard, [](float sample) { return sample != 0; });
    const auto rest =
        std::ranges::mismatch(sound, heard.end(), first_.samples.begin(), first_.samples.end()).in1;
    EXPECT_GE(rest - sound, moment == "before" ? 0 : 0.05 * 44100 * 2);
    EXPECT_LT(rest - sound, std::ssize(first_.samples)) << "it was cut";
    const Comparison result =
        compare(second_.samples, std::vector<float>(rest, heard.end()), cd.channels);
    EXPECT_TRUE(result.isExact(second_.frames())) << result.text();
    EXPECT_EQ(stops_, moment == "after" ? 1 : 2);
}

INSTANTIATE_TEST_SUITE_P(Moments, NextPressed, testing::Values("before", "during", "after"),
                         [](const auto& one) { return one.param; });

}  // namespace
}  // namespace halvenor::test
