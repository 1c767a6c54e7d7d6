#include <QDBusVariant>

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "platform/mediacontrols/NowPlayingService.h"
#include "state/AppStateFixture.h"
#include "support/BusDaemon.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

class WaveformStateTest : public AppStateFixture {
  protected:
    WaveformStateTest() {
        makeFolder("lib/a", {"1.wav", "2.wav", "3.wav"});
        makeFile("lib/a/4.wav", "no music");
        startState();
        addLocation("lib");
        openAndRead("lib/a");
    }
    bool hasPeaks() {
        return spinUntil([&] { return !state().waveformPeaks->isEmpty(); });
    }
};

TEST_F(WaveformStateTest, peaksAreThoseOfTheTrackThatIsCurrentWhenTheyArrive) {
    std::vector<qsizetype> sizes;
    const Subscription counting = state().waveformPeaks.subscribe(
        [&](const QList<float>& peaks) { sizes.push_back(peaks.size()); });
    for (const qsizetype row : {0, 1, 2}) {
        state().play(shown(row));
    }
    ASSERT_TRUE(hasPeaks());
    spinFor(100ms);
    EXPECT_EQ(sizes.back(), 160);
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), 160), 1) << "those that were left don't show";
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), 0), 3) << "the old one's never stay";
}

TEST_F(WaveformStateTest, areReadOnlyWhileTheyAreShown) {
    state().showWaveform = false;
    state().play(shown(0));
    spinFor(200ms);
    EXPECT_TRUE(state().waveformPeaks->isEmpty());
    state().showWaveform = true;
    EXPECT_TRUE(hasPeaks());
    state().showWaveform = false;
    EXPECT_FALSE(state().waveformPeaks->isEmpty()) << "turning it off drops nothing";
}

class MediaControlTest : public WaveformStateTest {
  protected:
    MediaControlTest() { state().nowPlayingService().start(0ms); }
    void SetUp() override {
        ASSERT_TRUE(spinUntil([&] { return !client_.ownerOf(service).isEmpty(); }));
    }
    QDBusMessage call(const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) {
        return client_.call(service, QStringLiteral("/org/mpris/MediaPlayer2"), interface, method,
                            arguments);
    }
    void player(const char* method, const QVariantList& arguments = {}) {
        call(QStringLiteral("org.mpris.MediaPlayer2.Player"), QString::fromLatin1(method),
             arguments);
    }
    QVariant property(const char* name) {
        const QDBusMessage reply =
            call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                 {QStringLiteral("org.mpris.MediaPlayer2.Player"), QString::fromLatin1(name)});
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    const QString service = QStringLiteral("org.mpris.MediaPlayer2.halvenor");
    BusDaemon bus_;
    BusClient client_{bus_};
};

TEST_F(MediaControlTest, commandsReachTheEngineOrDoNothing) {
    EXPECT_EQ(property("PlaybackStatus"), QStringLiteral("Stopped"));
    for (const char* method : {"Play", "Pause", "PlayPause", "Next", "Previous", "Stop"}) {
        player(method);
    }
    spinFor(20ms);
    EXPECT_FALSE(*engine().isPlaying);
    EXPECT_EQ(current(), "none");

    state().play(shown(0));
    EXPECT_EQ(property("PlaybackStatus"), QStringLiteral("Playing"));
    player("PlayPause");
    EXPECT_TRUE(spinUntil([&] { return !*engine().isPlaying; }));
    player("Seek", {std::numeric_limits<qlonglong>::min()});
    EXPECT_TRUE(spinUntil([&] { return *engine().currentTime == 0; }));
    EXPECT_EQ(property("CanGoNext"), true);
    state().play(shown(2));
    state().repeatMode = RepeatMode::off;
    EXPECT_EQ(property("CanGoNext"), true) << "a file that can't be played is still a track";
    state().playbackErrorMessage.mutate([](auto& text) { text.reset(); });
}

TEST_F(MediaControlTest, anOpenedFilePlaysAndAnOpenedFolderIsShown) {
    makeFolder("elsewhere", {"guest.wav"});
    player("OpenUri", {QString::fromLatin1(folder("elsewhere/guest.wav").encoded())});
    EXPECT_TRUE(spinUntil([&] { return current() == "guest"; }));
    player("OpenUri", {QString::fromLatin1(folder("elsewhere").encoded())});
    EXPECT_TRUE(spinUntil([&] {
        return *state().selectedFolder &&
               (*state().selectedFolder)->url() == folder("elsewhere").standardized();
    }));
}

}  // namespace
}  // namespace halvenor::test
