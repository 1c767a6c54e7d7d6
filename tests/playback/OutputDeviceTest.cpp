// What the engine makes of devices that come and go: lists that a test makes up, an output pulled
// by hand.
#include <gmock/gmock.h>

#include "EngineFixture.h"
#include "support/EventLoop.h"

using namespace halvenor;
using namespace halvenor::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString none;
const QString speakers = QStringLiteral("speakers");
const QString headphones = QStringLiteral("headphones");
const QStringList both{QStringLiteral("Speakers"), QStringLiteral("Headphones")};
const QStringList speakersOnly{QStringLiteral("Speakers")};
const QStringList headphonesFirst{QStringLiteral("Headphones"), QStringLiteral("Speakers")};

/// Two tracks, the first of which plays, through an output on the default device.
struct Playing : EngineFixture {
    Playing() {
        output->defaultDevice = speakers;
        playBoth(a, b);
        play(10001);
    }
    /// Plays to the end. Every frame must have been heard once, over all that has happened.
    void expectWholeMusic() {
        expectHeard(samplesOf(a) + samplesOf(b));
        EXPECT_THAT(log, ElementsAre("now b", "ended"));
    }

    const Track a = add("a", 44100);
    const Track b = add("b", 20000);
};

struct OutputDevices : testing::Test, Playing {};
using UnusedOutputDevices = EngineTest;

}  // namespace

TEST_F(UnusedOutputDevices, ArePublishedByTheirNames) {
    EXPECT_EQ(*engine->defaultOutputDeviceName, QStringLiteral("System Default"));
    engine->refreshOutputDevices();
    EXPECT_EQ(devices->startCount, 1);
    devices->tell(both);
    ASSERT_EQ(engine->outputDevices->size(), 2);
    EXPECT_EQ(engine->outputDevices->at(1).id, headphones);
    EXPECT_EQ(*engine->defaultOutputDeviceName, QStringLiteral("Speakers"));

    int changes = 0;
    const Subscription subscription =
        engine->outputDevices.subscribe([&](const auto&) { ++changes; });
    devices->tell(both, true, false);
    EXPECT_EQ(changes, 0) << "a server that is away keeps its devices";
    devices->tell({});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(*engine->defaultOutputDeviceName, QStringLiteral("System Default"));
}

TEST_F(UnusedOutputDevices, AreAskedForWithTheFirstSound) {
    EXPECT_EQ(devices->startCount, 0);
    engine->load(add("a", 100), 0, false);
    EXPECT_EQ(devices->startCount, 1);
}

TEST_F(OutputDevices, AreSwitchedWithoutLosingAFrame) {
    devices->tell(both);
    int published = 0;
    const Subscription subscription = engine->isPlaying.subscribe([&](bool) { ++published; });
    engine->selectOutputDevice(headphones);
    EXPECT_EQ(selected(), headphones);
    EXPECT_EQ(output->device(), headphones);
    EXPECT_EQ(position(), 10001.0 / 44100);
    EXPECT_EQ(published, 0) << "it plays all the while";
    EXPECT_EQ(queued(), "b");
    play(5000);

    const int opened = output->openCount;
    engine->selectOutputDevice(headphones);
    devices->tell(headphonesFirst);
    devices->tell(both);
    EXPECT_EQ(output->openCount, opened) << "nothing has changed for the music";

    engine->pause();
    output->setFormat({48000, 2});
    engine->selectOutputDevice(none);
    EXPECT_EQ(*engine->currentTime, 15001.0 / 44100);
    EXPECT_FALSE(output->isRunning);
    output->setFormat(cd);
    engine->selectOutputDevice(headphones);
    engine->resume();
    EXPECT_EQ(position(), 15001.0 / 44100);
    expectWholeMusic();
}

TEST(OutputDevice, GoBackToTheOldOneWhenTheNewOneFails) {
    struct Case {
        const char* name;
        QString uid;
        QString error;
    };
    for (const Case& c :
         {Case{"not in the list", QStringLiteral("radio"),
               QStringLiteral("Audio output device is unavailable: radio")},
          Case{"in the list, but gone", QStringLiteral("gone"),
               QStringLiteral("Audio output device is unavailable: gone")},
          Case{"refused", QStringLiteral("taken"),
               QStringLiteral("Could not switch the audio output device (Core Audio error 7).")}}) {
        SCOPED_TRACE(c.name);
        Playing fixture;
        fixture.output->missingDevices.append(QStringLiteral("gone"));
        fixture.output->refusedDevices.append(QStringLiteral("taken"));
        fixture.devices->tell(both + QStringList{QStringLiteral("Gone"), QStringLiteral("Taken")});
        fixture.engine->selectOutputDevice(headphones);
        fixture.engine->selectOutputDevice(c.uid);
        EXPECT_EQ(fixture.deviceError(), c.error);
        EXPECT_EQ(fixture.selected(), headphones);
        EXPECT_EQ(fixture.savedDevice(), headphones);
        EXPECT_EQ(fixture.output->device(), headphones);
        fixture.play(1000);
        fixture.engine->selectOutputDevice(none);
        EXPECT_EQ(fixture.deviceError(), none) << "a switch that works takes it away";
        fixture.expectWholeMusic();
    }
}

TEST_F(OutputDevices, FailForGoodOnlyWhenTheOldOneFailsToo) {
    devices->tell(both);
    output->openFailure = "no server";
    engine->selectOutputDevice(headphones);
    EXPECT_EQ(deviceError(), QStringLiteral("The audio output unit is unavailable."));
    EXPECT_EQ(selected(), none);
    EXPECT_FALSE(*engine->isPlaying);
    EXPECT_THAT(log, ElementsAre("failed a: no server"));
    log.clear();
    output->openFailure.clear();
    engine->resume();
    EXPECT_EQ(position(), 10001.0 / 44100);
    expectWholeMusic();
}

TEST(OutputDevice, FallBackOnlyWhenTheChosenOneIsCertainlyGone) {
    struct Case {
        const char* name;
        std::function<void(ManualDevices&)> act;
        bool isKept;
    };
    const std::vector<Case> cases = {
        {"taken away", [](ManualDevices& d) { d.tell(speakersOnly); }, false},
        {"taken away from a young server", [](ManualDevices& d) { d.tell(speakersOnly, false); },
         false},
        {"server away", [](ManualDevices& d) { d.tell(both, true, false); }, true},
        {"server back, devices coming",
         [](ManualDevices& d) {
             d.tell(both, true, false);
             d.tell(speakersOnly, false);
         },
         true},
        {"server back, device back",
         [](ManualDevices& d) {
             d.tell(both, true, false);
             d.tell(speakersOnly, false);
             d.tell(headphonesFirst, false);
             d.tell(headphonesFirst);
         },
         true},
        {"server back for good without it",
         [](ManualDevices& d) {
             d.tell(both, true, false);
             d.tell(speakersOnly, false);
             d.tell(speakersOnly);
         },
         false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Playing fixture;
        fixture.devices->tell(both);
        fixture.engine->selectOutputDevice(headphones);
        fixture.play(3000);
        const int opened = fixture.output->openCount;
        c.act(*fixture.devices);
        EXPECT_EQ(fixture.selected(), c.isKept ? headphones : none);
        EXPECT_EQ(fixture.settings->contains(EngineFixture::deviceKey), c.isKept);
        EXPECT_EQ(fixture.output->device(), c.isKept ? headphones : speakers);
        EXPECT_EQ(fixture.output->openCount, c.isKept ? opened : opened + 1);
        EXPECT_EQ(fixture.deviceError(), none);
        fixture.devices->tell(both);
        EXPECT_EQ(fixture.selected(), c.isKept ? headphones : none)
            << "one that returns is not taken back";
        fixture.expectWholeMusic();
    }
}

TEST_F(OutputDevices, FallBackWhenTheOutputFindsItsDeviceNoMore) {
    devices->tell(both);
    engine->selectOutputDevice(headphones);
    output->onDeviceLost();
    settle();
    EXPECT_EQ(selected(), headphones) << "the list says otherwise";
    devices->tell(speakersOnly, true, false);
    output->onDeviceLost();
    settle();
    EXPECT_EQ(selected(), none);
    EXPECT_EQ(output->device(), speakers);
    expectWholeMusic();
}

TEST(OutputDevice, FollowADefaultThatTheServerDoesNotFollow) {
    for (const bool serverMoves : {true, false}) {
        SCOPED_TRACE(serverMoves);
        Playing fixture;
        fixture.devices->tell(both);
        const int opened = fixture.output->openCount;
        fixture.output->defaultDevice = headphones;
        if (serverMoves) {
            fixture.output->soundingDevice = headphones;
        }
        fixture.devices->tell(headphonesFirst);
        EXPECT_EQ(fixture.output->openCount, opened) << "the server has the first word";
        spinFor(std::chrono::milliseconds(400));
        EXPECT_EQ(fixture.output->device(), headphones);
        EXPECT_EQ(fixture.output->openCount, serverMoves ? opened : opened + 1);
        EXPECT_EQ(*fixture.engine->defaultOutputDeviceName, QStringLiteral("Headphones"));
        EXPECT_EQ(fixture.selected(), none);
        fixture.expectWholeMusic();
    }
}

TEST_F(OutputDevices, WaitForAnyDeviceWhenTheLastOneIsGone) {
    devices->tell(both);
    engine->selectOutputDevice(headphones);
    devices->tell({});
    EXPECT_EQ(deviceError(), QStringLiteral("Audio output device is unavailable: System Default"));
    EXPECT_TRUE(*engine->isPlaying);
    EXPECT_THAT(log, IsEmpty());
    devices->tell(speakersOnly);
    EXPECT_EQ(selected(), none);
    EXPECT_EQ(output->device(), speakers);
    EXPECT_EQ(deviceError(), none);

    output->soundingDevice.clear();
    devices->tell({});
    EXPECT_EQ(deviceError(), QStringLiteral("Audio output device is unavailable: System Default"));
    devices->tell(speakersOnly);
    EXPECT_TRUE(spinUntil([&] { return deviceError().isEmpty(); }));
    EXPECT_EQ(output->device(), speakers);
    expectWholeMusic();
}

TEST(OutputDevice, OfAnEarlierRunAreTakenUpOrDroppedInSilence) {
    struct Case {
        const char* name;
        bool isThere;       ///< when the first track is loaded
        QStringList names;  ///< told afterwards
        bool isSettled;
        QString selected;
        QString device;
        int opened;
    };
    const Case cases[] = {
        {"there", true, both, true, headphones, headphones, 1},
        {"gone", false, speakersOnly, true, none, speakers, 2},
        {"not there yet", false, speakersOnly, false, headphones, speakers, 2},
        {"a little late", false, both, false, headphones, headphones, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EngineFixture fixture(cd, headphones);
        fixture.output->defaultDevice = speakers;
        EXPECT_EQ(fixture.selected(), headphones);
        if (!c.isThere) {
            fixture.output->missingDevices.append(headphones);
        }
        const Track a = fixture.add("a", 44100);
        fixture.engine->loadAndPlay(a);
        fixture.play(1000);
        fixture.output->missingDevices.clear();
        fixture.devices->tell(c.names, c.isSettled);
        EXPECT_EQ(fixture.selected(), c.selected);
        EXPECT_EQ(fixture.savedDevice(), c.selected);
        EXPECT_EQ(fixture.output->device(), c.device);
        EXPECT_EQ(fixture.output->openCount, c.opened);
        EXPECT_EQ(fixture.deviceError(), none);
        fixture.playToEnd();
        EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a)), -1);
        EXPECT_THAT(fixture.log, ElementsAre("ended"));
    }

    // One that refuses is told of, and given up.
    EngineFixture fixture(cd, headphones);
    fixture.output->refusedDevices.append(headphones);
    fixture.engine->loadAndPlay(fixture.add("a", 44100));
    fixture.devices->tell(both);
    EXPECT_EQ(fixture.deviceError(),
              QStringLiteral("Could not switch the audio output device (Core Audio error 7)."));
    EXPECT_EQ(fixture.selected(), none);
    EXPECT_FALSE(fixture.settings->contains(EngineFixture::deviceKey));
    EXPECT_TRUE(*fixture.engine->isPlaying);
    EXPECT_THAT(fixture.log, IsEmpty());
}

TEST_F(UnusedOutputDevices, AreOnlyNotedWhileNothingIsLoaded) {
    devices->tell(both);
    engine->selectOutputDevice(headphones);
    EXPECT_EQ(output->openCount, 0);
    EXPECT_EQ(savedDevice(), headphones);
    const Track a = add("a", 4410);
    engine->loadAndPlay(a);
    EXPECT_EQ(output->device(), headphones);

    // A track that was stopped or has ended is loaded anew, ready to be played.
    engine->stop();
    engine->selectOutputDevice(none);
    EXPECT_EQ(savedDevice(), none);
    EXPECT_FALSE(*engine->isPlaying);
    engine->resume();
    playToEnd();
    EXPECT_THAT(log, ElementsAre("ended"));
    engine->selectOutputDevice(headphones);
    EXPECT_FALSE(*engine->isPlaying);
    EXPECT_EQ(*engine->currentTime, 0);
    engine->resume();
    playToEnd();
    EXPECT_EQ(firstDifference(output->heard(), samplesOf(a) + samplesOf(a)), -1);
}

TEST_F(OutputDevices, MayBeHeardOfAndChosenFromWithinAChange) {
    devices->tell(both);
    bool isFirst = true;
    const Subscription subscription = engine->currentTime.subscribe([&](double) {
        if (std::exchange(isFirst, false)) {
            devices->tell(headphonesFirst);
            engine->refreshOutputDevices();
        }
    });
    const int opened = output->openCount;
    engine->selectOutputDevice(headphones);
    EXPECT_FALSE(isFirst);
    EXPECT_EQ(output->openCount, opened + 1);
    EXPECT_EQ(output->device(), headphones);
    expectWholeMusic();
}

TEST_F(UnusedOutputDevices, CallNobodyWhoIsGone) {
    devices->tell(both);
    engine->selectOutputDevice(headphones);
    devices->tell(both, true, false);
    devices->announce();
    engine.reset();  // Between the news and the turn that would act on it.
    QCoreApplication::processEvents();
    EXPECT_EQ(savedDevice(), headphones);
}

// The end of a track is heard, and the device changes before the main thread comes to know.
TEST_F(OutputDevices, MayChangeInTheVeryMomentOfAJoin) {
    devices->tell(both);
    hearOnly(44100 - 10001);
    engine->selectOutputDevice(headphones);
    settle();
    EXPECT_EQ(**engine->currentTrack, b);
    EXPECT_EQ(position(), 0);
    expectWholeMusic();
}
