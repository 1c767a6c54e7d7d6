// What clients are told without asking.
#include <array>

#include "MprisFixture.h"
#include "platform/mediacontrols/ExpectedPosition.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class MprisSignalTest : public MprisTest {
  protected:
    /// On the bus with a track that has been announced, and a log that begins now.
    void startWithTrack(double position, PlaybackStatus status) {
        player_.state.position = position;
        player_.state.status = status;
        ASSERT_TRUE(start());
        service().updateNowPlaying(makeTrack(text("One")), position, 200,
                                   status == PlaybackStatus::playing);
        settle();
        log_.emplace(*client_);
        settle();
        log_->clear();
    }
    void change() {
        service().playerChanged();
        settle();
    }
    QStringList changedNames() const {
        QStringList names;
        for (const SignalLog::Signal& signal : log_->named("PropertiesChanged")) {
            names += signal.changed.keys();
        }
        return names;
    }

    std::optional<SignalLog> log_;
};

TEST_F(MprisSignalTest, whatChangedIsToldOnceForAllCalls) {
    startWithTrack(60, PlaybackStatus::paused);
    player_.state.status = PlaybackStatus::playing;
    for (int i = 0; i <= 100; ++i) {
        player_.state.volume = 0.01 * i;
        service().playerChanged();
    }
    player_.state.loopMode = LoopMode::playlist;
    player_.state.isShuffling = true;
    change();
    const auto changes = log_->named("PropertiesChanged");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].changed, (QVariantMap{{text("PlaybackStatus"), text("Playing")},
                                               {text("Volume"), 1.0},
                                               {text("LoopStatus"), text("Playlist")},
                                               {text("Shuffle"), true}}));
    log_->clear();
    change();
    EXPECT_THAT(log_->all(), IsEmpty());
}

TEST_F(MprisSignalTest, eachLivePropertyIsToldAlone) {
    startWithTrack(60, PlaybackStatus::paused);
    MediaPlayerState& state = player_.state;
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"PlaybackStatus", [&] { state.status = PlaybackStatus::playing; }},
        {"PlaybackStatus", [&] { state.status = PlaybackStatus::paused; }},
        {"Volume", [&] { state.volume = 0.75; }},
        {"LoopStatus", [&] { state.loopMode = LoopMode::track; }},
        {"Shuffle", [&] { state.isShuffling = true; }},
        {"CanGoNext", [&] { state.canGoNext = false; }},
        {"CanGoPrevious", [&] { state.canGoPrevious = false; }},
        {"CanPlay", [&] { state.canPlay = false; }},
        {"CanPause", [&] { state.canPause = false; }},
        {"CanSeek", [&] { state.canSeek = false; }}};
    for (const auto& [name, apply] : changes) {
        log_->clear();
        apply();
        change();
        EXPECT_EQ(changedNames(), QStringList(text(name)));
        EXPECT_EQ(log_->named("PropertiesChanged").at(0).changed.value(text(name)), property(name));
    }
}

TEST_F(MprisSignalTest, theRecordGoesOutOncePerTrack) {
    startWithTrack(0, PlaybackStatus::playing);
    service().updateNowPlaying(makeTrack(text("Two")), 0, 100, true);
    settle();
    EXPECT_EQ(log_->count("Metadata"), 1);
    EXPECT_EQ(qdbus_cast<QVariantMap>(
                  log_->named("PropertiesChanged").at(0).changed.value(text("Metadata")))
                  .value(text("xesam:title")),
              text("Two"));
    // Neither a pause nor a seek sends it again.
    player_.state.status = PlaybackStatus::paused;
    change();
    player_.state.position = 90;
    change();
    EXPECT_EQ(log_->count("Metadata"), 1);
    EXPECT_EQ(log_->named("Seeked").size(), 1U);
    EXPECT_EQ(log_->count("Position"), 0);
}

TEST_F(MprisSignalTest, jumpsAreToldAndPlayingIsNot) {
    startWithTrack(0, PlaybackStatus::playing);
    const auto begin = std::chrono::steady_clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    for (int i = 0; i < 20; ++i) {
        player_.state.position = elapsed();
        service().playerChanged();
        spinFor(50ms);
    }
    settle();
    EXPECT_THAT(log_->all(), IsEmpty());
    player_.state.position = 100;
    change();
    player_.state.position = 3;
    change();
    ASSERT_EQ(log_->named("Seeked").size(), 2U);
    EXPECT_EQ(log_->all()[0].position, 100'000'000);
    EXPECT_EQ(log_->all()[1].position, 3'000'000);
    EXPECT_EQ(property("Position"), QVariant(qlonglong{3'000'000}));
}

TEST_F(MprisSignalTest, aSeekByAClientIsAlwaysAnswered) {
    startWithTrack(60, PlaybackStatus::playing);
    callPlayer("Seek", {qlonglong{100'000}});
    player_.state.position = 60.1;
    settle();
    EXPECT_EQ(log_->named("Seeked").size(), 1U);
}

TEST_F(MprisSignalTest, aTrackThatBeginsInItsMiddleSaysSoAfterItsRecord) {
    startWithTrack(60, PlaybackStatus::paused);
    player_.state.position = 83;
    service().updateNowPlaying(makeTrack(text("Restored")), 83, 200, false);
    settle();
    ASSERT_EQ(log_->all().size(), 2U);
    EXPECT_TRUE(log_->all()[0].changed.contains(text("Metadata")));
    EXPECT_EQ(log_->all()[1].position, 83'000'000);
    log_->clear();
    player_.state.position = 0;
    service().updateNowPlaying(makeTrack(text("From its beginning")), 0, 200, false);
    settle();
    EXPECT_EQ(log_->all().size(), 1U);
}

// Without a player set up, the record runs on by itself.
TEST_F(MprisSignalTest, aRecordAloneRunsOn) {
    service().setupPlayer({});
    ASSERT_TRUE(start());
    EXPECT_EQ(property("PlaybackStatus"), QVariant(text("Stopped")));
    service().updateNowPlaying(makeTrack(text("One")), 199.95, 200, true);
    EXPECT_EQ(property("PlaybackStatus"), QVariant(text("Playing")));
    spinFor(100ms);
    EXPECT_EQ(property("Position"), QVariant(qlonglong{200'000'000}));
    service().updateNowPlaying(makeTrack(text("One")), 5, 200, false);
    spinFor(20ms);
    EXPECT_EQ(property("PlaybackStatus"), QVariant(text("Paused")));
    EXPECT_EQ(property("Position"), QVariant(qlonglong{5'000'000}));
}

TEST(ExpectedPosition, runsOnWhileThePlayerDoes) {
    const ExpectedPosition::TimePoint begin;
    ExpectedPosition expected;
    expected.settle(10, true, begin);
    EXPECT_FALSE(expected.isJump(10, begin));
    EXPECT_FALSE(expected.isJump(70.4, begin + 60s));
    EXPECT_TRUE(expected.isJump(70.6, begin + 60s));
    EXPECT_TRUE(expected.isJump(10, begin + 1s));
    expected.settle(10, false, begin);
    EXPECT_FALSE(expected.isJump(10, begin + 60s));
    EXPECT_TRUE(expected.isJump(10.01, begin + 60s));
}

}  // namespace
}  // namespace halvenor::test
