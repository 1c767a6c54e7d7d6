#include <gmock/gmock.h>

#include "EngineFixture.h"
#include "support/EventLoop.h"
#include "support/MediaLibrary.h"

using namespace halvenor;
using namespace halvenor::test;

// The queued file has a name that is no text, and is deleted before it is heard.
TEST(AudioEngineManager, PlaysRealFilesThatAreOpenThoughDeleted) {
    const TemporaryFolder folder;
    std::vector<Track> tracks;
    std::vector<float> music;
    for (const QByteArray& name : {QByteArray("a.wav"), QByteArray("b\xff.wav")}) {
        TrackFields fields;
        fields.url = folder.at(name);
        const int number = static_cast<int>(tracks.size());
        const Signal signal = makeSignal(4001 + 1002 * number, 44100, 2, number);
        mediaKind("wav s16").write(fields.url, signal);
        music = std::move(music) + signal.samples;
        tracks.emplace_back(fields);
    }

    auto made = std::make_unique<ManualOutput>(cd);
    ManualOutput* output = made.get();
    AudioEngineManager engine(std::move(made));
    std::vector<QByteArray> transitions;
    engine.onGaplessTransition = [&](const Track& track) { transitions.push_back(track.id()); };
    engine.loadAndPlay(tracks[0]);
    engine.setNextTrack(tracks[1]);
    ASSERT_EQ(engine.queuedTrack(), tracks[1]);
    for (const Track& track : tracks) {
        ASSERT_EQ(::unlink(track.url().path().constData()), 0);
    }
    EXPECT_TRUE(spinUntil([&] {
        output->play(1000);
        return !*engine.isPlaying;
    }));
    EXPECT_THAT(transitions, testing::ElementsAre(tracks[1].id()));
    EXPECT_EQ(firstDifference(output->heard(), music), -1);
}
