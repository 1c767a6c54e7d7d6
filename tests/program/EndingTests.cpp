// The program plays, is ended from outside in every way there is, and is started again. What was
// heard tells where it really was.
#include <sys/stat.h>
#include <vector>

#include "program/ProgramFixture.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

class EndingTest : public ProgramTest {
  protected:
    void expectItGoesOnFrom(double position) {
        expectSettingsKept();
        start();
        playUntil(position + 0.5);
        end();
        EXPECT_GT(secondsHeardFrom(position), 0.4) << "it goes on at the very frame";
        expectSettingsKept();
    }
};

class EndedBy : public EndingTest, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(EndedBy, signalsItSavesEverythingAndGoesOnThereTheNextTime) {
    start();
    playUntil(startPosition + 0.5);
    for (const int signal : GetParam()) {
        send(signal);
    }
    expectOrderlyEnd();
    const double position = storedPosition();
    const double heard = startPosition + secondsHeardFrom(startPosition);
    EXPECT_NEAR(position, heard, 0.1);
    RecordProperty("millisecondsOff", static_cast<int>(1000 * (heard - position)));
    expectItGoesOnFrom(position);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndedBy,
                         testing::Values(std::vector{SIGTERM}, std::vector{SIGINT},
                                         std::vector{SIGHUP},
                                         std::vector{SIGTERM, SIGHUP, SIGTERM, SIGINT}),
                         [](const auto& one) {
                             return one.param.size() > 1 ? std::string("many")
                                                         : sigabbrev_np(one.param[0]);
                         });

TEST_F(EndingTest, killedItHasLostASecondAtMostAndHadWrittenOnceASecond) {
    start();
    playUntil(startPosition + 0.1);
    QElapsedTimer sinceFirst;
    const auto settingsInode = [&] {
        struct stat status = {};
        ::stat(home_.path("Halvenor/settings.json").constData(), &status);
        return status.st_ino;
    };
    ino_t last = settingsInode();
    for (int writes = 0; writes < 4; ++writes) {
        ASSERT_TRUE(comesTrue([&] { return settingsInode() != last; }));
        last = settingsInode();
        if (writes == 0) {
            sinceFirst.start();
        }
    }
    // A write is as late as the disk is slow; the position changes many times a second.
    EXPECT_GT(sinceFirst.elapsed(), 1500);
    EXPECT_LT(sinceFirst.elapsed(), 7500);
    QThread::msleep(900);  // What was written is nearly as old as it gets.
    program_.kill();
    const double position = storedPosition();
    const double lost = startPosition + secondsHeardFrom(startPosition) - position;
    EXPECT_LT(lost, 3.5) << "a second, and what a busy machine and a slow disk add";
    RecordProperty("millisecondsLost", static_cast<int>(1000 * lost));
    expectItGoesOnFrom(position);
}

TEST_F(EndingTest, mutedItStaysMutedAndKeepsItsVolume) {
    start();
    press("m");
    playUntil(startPosition + 0.5);
    end();
    EXPECT_EQ(secondsHeardFrom(startPosition), 0);
    EXPECT_EQ(settings().boolean("PlayerIsMuted"), true);
    expectSettingsKept();

    start();
    playUntil(storedPosition() + 0.5);
    EXPECT_EQ(secondsHeardFrom(startPosition), 0);
    press("m");
    ASSERT_TRUE(comesTrue([&] { return settings().boolean("PlayerIsMuted") == false; }));
    end();
    expectSettingsKept();
}

TEST_F(EndingTest, itOutlivesItsTerminalWhereItWasToldTo) {
    start("trap '' HUP");
    playUntil(startPosition + 0.1);
    send(SIGHUP);
    EXPECT_EQ(program_.waitFor(500ms), std::nullopt);
    end();
}

}  // namespace
}  // namespace halvenor::test
