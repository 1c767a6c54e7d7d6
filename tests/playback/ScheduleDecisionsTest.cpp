#include <cmath>
#include <gmock/gmock.h>
#include <limits>

#include "playback/ScheduleDecisions.h"

using namespace halvenor;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

}  // namespace

TEST(ScheduleDecisions, MeasuresFilesAndFallsBackOnTheTags) {
    struct Case {
        int64_t frames;
        double rate;
        double fallback;
        double expected;
    };
    for (const Case& c :
         {Case{88200, 44100, 9, 2}, Case{1, 44100, 9, 1.0 / 44100}, Case{0, 44100, 9, 9},
          Case{88200, 0, 9, 9}, Case{88200, -1, 9, 9}, Case{88200, notANumber, 9, 9},
          Case{0, 44100, -9, 0}, Case{0, 44100, notANumber, 0}}) {
        EXPECT_EQ(measuredDuration(c.frames, c.rate, c.fallback), c.expected)
            << c.frames << " at " << c.rate << ", else " << c.fallback;
    }
}

TEST(ScheduleDecisions, PlacesLoadsAndSeeks) {
    struct Case {
        double requested;
        double duration;
        double load;
        double seek;
    };
    for (const Case& c :
         {Case{3, 10, 3, 3}, Case{10, 10, 0, 10}, Case{11, 10, 0, 10},
          Case{9.999, 10, 9.999, 9.999}, Case{-1, 10, 0, 0}, Case{notANumber, 10, 0, 0},
          Case{infinity, 10, 0, 10}, Case{5, 0, 0, 0}, Case{0, 0, 0, 0}, Case{5, -1, 0, 0}}) {
        EXPECT_EQ(loadPosition(c.requested, c.duration), c.load) << c.requested << c.duration;
        EXPECT_EQ(seekPosition(c.requested, c.duration), c.seek) << c.requested << c.duration;
    }
}

TEST(ScheduleDecisions, FindsTheFrameOfAPosition) {
    struct Case {
        double position;
        int64_t frames;
        std::optional<int64_t> expected;
    };
    constexpr int64_t hundredHours = 360000LL * 44100;
    for (const Case& c :
         {Case{0, 100, std::nullopt}, Case{-1, 100, std::nullopt},
          Case{notANumber, 100, std::nullopt}, Case{1.5, 441000, 66150}, Case{0.99 / 44100, 100, 0},
          Case{98.9 / 44100, 100, 98}, Case{100.0 / 44100, 100, 99}, Case{7, 100, 99},
          Case{infinity, 100, 99}, Case{7, 1, 0}, Case{7, 0, 0},
          Case{359999, hundredHours, 359999LL * 44100}}) {
        EXPECT_EQ(startFrameAt(c.position, c.frames, 44100), c.expected)
            << c.position << " of " << c.frames;
    }
}

TEST(ScheduleDecisions, ReadsPositionsFromThePlayersClock) {
    EXPECT_EQ(positionAt(10, 500, 500, 48000, 60), 10);
    EXPECT_EQ(positionAt(10, 500, 500 + 24000, 48000, 60), 10.5);
    EXPECT_EQ(positionAt(10, 500, 400, 48000, 60), 10) << "a clock that was set back";
    EXPECT_EQ(positionAt(59.9, 0, 48000, 48000, 60), 60);
}
