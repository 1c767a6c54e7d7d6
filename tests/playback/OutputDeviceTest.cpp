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

QString errorOf(const EngineFixture& fixture) {
    return fixture.engine->outputDeviceError->value_or(QString());
}

/// What the next run would take up; null where nothing is kept.
QString savedIn(const EngineFixture& fixture) {
    return fixture.settings->string(EngineFixture::deviceKey).value_or(QString());
}

/// Two tracks, the first of which plays, through an output on the default device.
struct Playing : EngineFixture {
    Playing() {
        output->defaultDevice = speakers;
        engine->loadAndPlay(a);
        engine->setNextTrack(b);
        play(10001);
    }
    /// Plays to the end. Every frame must have been heard once, over all that has happened.
    void expectWholeMusic() {
        playToEnd();
        EXPECT_EQ(firstDifference(output->heard(), samplesOf(a) + samplesOf(b)), -1);
        EXPECT_THAT(log, ElementsAre("now b", "ended"));
    }

    const Track a = add("a", 44100);
    const Track b = add("b", 20000);
};

}  // namespace

TEST(OutputDevices, ArePublishedByTheirNames) {
    EngineFixture fixture;
    EXPECT_EQ(*fixture.engine->defaultOutputDeviceName, QStringLiteral("System Default"));
    fixture.engine->refreshOutputDevices();
    EXPECT_EQ(fixture.devices->startCount, 1);
    fixture.devices->tell(both);
    ASSERT_EQ(fixture.engine->outputDevices->size(), 2);
    EXPECT_EQ(fixture.engine->outputDevices->at(1).id, headphones);
    EXPECT_EQ(*fixture.engine->defaultOutputDeviceName, QStringLiteral("Speakers"));

    int changes = 0;
    const Subscription subscription =
        fixture.engine->outputDevices.subscribe([&](const auto&) { ++changes; });
    fixture.devices->tell(both, true, false);
    EXPECT_EQ(changes, 0) << "a server that is away keeps its devices";
    fixture.devices->tell({});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(*fixture.engine->defaultOutputDeviceName, QStringLiteral("System Default"));
}

TEST(OutputDevices, AreAskedForWithTheFirstSound) {
    EngineFixture fixture;
    EXPECT_EQ(fixture.devices->startCount, 0);
    fixture.engine->load(fixture.add("a", 100), 0, false);
    EXPECT_EQ(fixture.devices->startCount, 1);
}

TEST(OutputDevices, AreSwitchedWithoutLosingAFrame) {
    Playing fixture;
    fixture.devices->tell(both);
    int published = 0;
    const Subscription subscription =
        fixture.engine->isPlaying.subscribe([&](bool) { ++published; });
    fixture.engine->selectOutputDevice(headphones);
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, headphones);
    EXPECT_EQ(fixture.output->device(), headphones);
    EXPECT_EQ(fixture.position(), 10001.0 / 44100);
    EXPECT_EQ(published, 0) << "it plays all the while";
    EXPECT_EQ(fixture.queued(), "b");
    fixture.play(5000);

    const int opened = fixture.output->openCount;
    fixture.engine->selectOutputDevice(headphones);
    fixture.devices->tell(headphonesFirst);
    fixture.devices->tell(both);
    EXPECT_EQ(fixture.output->openCount, opened) << "nothing has changed for the music";

    fixture.engine->pause();
    fixture.output->setFormat({48000, 2});
    fixture.engine->selectOutputDevice(none);
    EXPECT_EQ(*fixture.engine->currentTime, 15001.0 / 44100);
    EXPECT_FALSE(fixture.output->isRunning);
    fixture.output->setFormat(cd);
    fixture.engine->selectOutputDevice(headphones);
    fixture.engine->resume();
    EXPECT_EQ(fixture.position(), 15001.0 / 44100);
    fixture.expectWholeMusic();
}

TEST(OutputDevices, GoBackToTheOldOneWhenTheNewOneFails) {
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
        EXPECT_EQ(errorOf(fixture), c.error);
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, headphones);
        EXPECT_EQ(savedIn(fixture), headphones);
        EXPECT_EQ(fixture.output->device(), headphones);
        fixture.play(1000);
        fixture.engine->selectOutputDevice(none);
        EXPECT_EQ(errorOf(fixture), none) << "a switch that works takes it away";
        fixture.expectWholeMusic();
    }
}

TEST(OutputDevices, FailForGoodOnlyWhenTheOldOneFailsToo) {
    Playing fixture;
    fixture.devices->tell(both);
    fixture.output->openFailure = "no server";
    fixture.engine->selectOutputDevice(headphones);
    EXPECT_EQ(errorOf(fixture), QStringLiteral("The audio output unit is unavailable."));
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, none);
    EXPECT_FALSE(*fixture.engine->isPlaying);
    EXPECT_THAT(fixture.log, ElementsAre("failed a: no server"));
    fixture.log.clear();
    fixture.output->openFailure.clear();
    fixture.engine->resume();
    EXPECT_EQ(fixture.position(), 10001.0 / 44100);
    fixture.expectWholeMusic();
}

TEST(OutputDevices, FallBackOnlyWhenTheChosenOneIsCertainlyGone) {
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
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, c.isKept ? headphones : none);
        EXPECT_EQ(fixture.settings->contains(EngineFixture::deviceKey), c.isKept);
        EXPECT_EQ(fixture.output->device(), c.isKept ? headphones : speakers);
        EXPECT_EQ(fixture.output->openCount, c.isKept ? opened : opened + 1);
        EXPECT_EQ(errorOf(fixture), none);
        fixture.devices->tell(both);
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, c.isKept ? headphones : none)
            << "one that returns is not taken back";
        fixture.expectWholeMusic();
    }
}

TEST(OutputDevices, FallBackWhenTheOutputFindsItsDeviceNoMore) {
    Playing fixture;
    fixture.devices->tell(both);
    fixture.engine->selectOutputDevice(headphones);
    fixture.output->onDeviceLost();
    fixture.settle();
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, headphones) << "the list says otherwise";
    fixture.devices->tell(speakersOnly, true, false);
    fixture.output->onDeviceLost();
    fixture.settle();
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, none);
    EXPECT_EQ(fixture.output->device(), speakers);
    fixture.expectWholeMusic();
}

TEST(OutputDevices, FollowADefaultThatTheServerDoesNotFollow) {
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
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, none);
        fixture.expectWholeMusic();
    }
}

TEST(OutputDevices, WaitForAnyDeviceWhenTheLastOneIsGone) {
    Playing fixture;
    fixture.devices->tell(both);
    fixture.engine->selectOutputDevice(headphones);
    fixture.devices->tell({});
    EXPECT_EQ(errorOf(fixture),
              QStringLiteral("Audio output device is unavailable: System Default"));
    EXPECT_TRUE(*fixture.engine->isPlaying);
    EXPECT_THAT(fixture.log, IsEmpty());
    fixture.devices->tell(speakersOnly);
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, none);
    EXPECT_EQ(fixture.output->device(), speakers);
    EXPECT_EQ(errorOf(fixture), none);

    fixture.output->soundingDevice.clear();
    fixture.devices->tell({});
    EXPECT_EQ(errorOf(fixture),
              QStringLiteral("Audio output device is unavailable: System Default"));
    fixture.devices->tell(speakersOnly);
    EXPECT_TRUE(spinUntil([&] { return errorOf(fixture).isEmpty(); }));
    EXPECT_EQ(fixture.output->device(), speakers);
    fixture.expectWholeMusic();
}

TEST(OutputDevices, OfAnEarlierRunAreTakenUpOrDroppedInSilence) {
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
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, headphones);
        if (!c.isThere) {
            fixture.output->missingDevices.append(headphones);
        }
        const Track a = fixture.add("a", 44100);
        fixture.engine->loadAndPlay(a);
        fixture.play(1000);
        fixture.output->missingDevices.clear();
        fixture.devices->tell(c.names, c.isSettled);
        EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, c.selected);
        EXPECT_EQ(savedIn(fixture), c.selected);
        EXPECT_EQ(fixture.output->device(), c.device);
        EXPECT_EQ(fixture.output->openCount, c.opened);
        EXPECT_EQ(errorOf(fixture), none);
        fixture.playToEnd();
        EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a)), -1);
        EXPECT_THAT(fixture.log, ElementsAre("ended"));
    }

    // One that refuses is told of, and given up.
    EngineFixture fixture(cd, headphones);
    fixture.output->refusedDevices.append(headphones);
    fixture.engine->loadAndPlay(fixture.add("a", 44100));
    fixture.devices->tell(both);
    EXPECT_EQ(errorOf(fixture),
              QStringLiteral("Could not switch the audio output device (Core Audio error 7)."));
    EXPECT_EQ(*fixture.engine->selectedOutputDeviceUID, none);
    EXPECT_FALSE(fixture.settings->contains(EngineFixture::deviceKey));
    EXPECT_TRUE(*fixture.engine->isPlaying);
    EXPECT_THAT(fixture.log, IsEmpty());
}

TEST(OutputDevices, AreOnlyNotedWhileNothingIsLoaded) {
    EngineFixture fixture;
    fixture.devices->tell(both);
    fixture.engine->selectOutputDevice(headphones);
    EXPECT_EQ(fixture.output->openCount, 0);
    EXPECT_EQ(savedIn(fixture), headphones);
    const Track a = fixture.add("a", 4410);
    fixture.engine->loadAndPlay(a);
    EXPECT_EQ(fixture.output->device(), headphones);

    // A track that was stopped or has ended is loaded anew, ready to be played.
    fixture.engine->stop();
    fixture.engine->selectOutputDevice(none);
    EXPECT_EQ(savedIn(fixture), none);
    EXPECT_FALSE(*fixture.engine->isPlaying);
    fixture.engine->resume();
    fixture.playToEnd();
    EXPECT_THAT(fixture.log, ElementsAre("ended"));
    fixture.engine->selectOutputDevice(headphones);
    EXPECT_FALSE(*fixture.engine->isPlaying);
    EXPECT_EQ(*fixture.engine->currentTime, 0);
    fixture.engine->resume();
    fixture.playToEnd();
    EXPECT_EQ(firstDifference(fixture.output->heard(), fixture.samplesOf(a) + fixture.samplesOf(a)),
              -1);
}

TEST(OutputDevices, MayBeHeardOfAndChosenFromWithinAChange) {
    Playing fixture;
    fixture.devices->tell(both);
    bool isFirst = true;
    const Subscription subscription = fixture.engine->currentTime.subscribe([&](double) {
        if (std::exchange(isFirst, false)) {
            fixture.devices->tell(headphonesFirst);
            fixture.engine->refreshOutputDevices();
        }
    });
    const int opened = fixture.output->openCount;
    fixture.engine->selectOutputDevice(headphones);
    EXPECT_FALSE(isFirst);
    EXPECT_EQ(fixture.output->openCount, opened + 1);
    EXPECT_EQ(fixture.output->device(), headphones);
    fixture.expectWholeMusic();
}

TEST(OutputDevices, CallNobodyWhoIsGone) {
    EngineFixture fixture;
    fixture.devices->tell(both);
    fixture.engine->selectOutputDevice(headphones);
    fixture.devices->tell(both, true, false);
    fixture.devices->announce();
    fixture.engine.reset();  // Between the news and the turn that would act on it.
    QCoreApplication::processEvents();
    EXPECT_EQ(savedIn(fixture), headphones);
}

// The end of a track is heard, and the device changes before the main thread comes to know.
TEST(OutputDevices, MayChangeInTheVeryMomentOfAJoin) {
    Playing fixture;
    fixture.devices->tell(both);
    fixture.hearOnly(44100 - 10001);
    fixture.engine->selectOutputDevice(headphones);
    fixture.settle();
    EXPECT_EQ(**fixture.engine->currentTrack, fixture.b);
    EXPECT_EQ(fixture.position(), 0);
    fixture.expectWholeMusic();
}
