#include <atomic>
#include <cstdlib>
#include <gmock/gmock.h>
#include <new>
#include <thread>
#include <vector>

#include "model/TrackList.h"

namespace halvenor {
namespace {

Track trackNumber(int number, const char* title = "skeleton") {
    TrackFields fields;
    fields.url = FileUrl("/m/" + QByteArray::number(number) + ".mp3");
    fields.title = QString::fromLatin1(title);
    return Track(fields);
}

TrackList listOf(int count) {
    TrackList list;
    for (int number = 0; number < count; ++number) {
        list.append(trackNumber(number));
    }
    return list;
}

std::vector<std::string> titlesOf(const TrackList& list) {
    std::vector<std::string> titles;
    for (const Track& track : list) {
        titles.push_back(track.title().toStdString());
    }
    return titles;
}

TEST(TrackList, FindsRowsById) {
    // Around the borders of what may be stored together.
    for (const int count : {0, 1, 63, 64, 65, 1000, 4096, 4097}) {
        const TrackList list = listOf(count);
        ASSERT_EQ(list.size(), count);
        for (const int row : {0, count / 2, count - 1}) {
            if (row >= 0 && row < count) {
                EXPECT_EQ(list.indexOfId(trackNumber(row).id()), row);
                EXPECT_EQ(list[row], trackNumber(row));
            }
        }
        EXPECT_FALSE(list.containsId("/m/none.mp3"));
        EXPECT_EQ(std::distance(list.begin(), list.end()), count);
    }
}

TEST(TrackList, UpdatesEveryRowOfAnIdAndTheLastUpdateWins) {
    TrackList list = {trackNumber(1), trackNumber(2), trackNumber(1), trackNumber(3),
                      trackNumber(1)};
    const TrackList before = list;
    EXPECT_TRUE(list.updateById({trackNumber(1, "first"), trackNumber(9, "nobody"),
                                 trackNumber(3, "three"), trackNumber(1, "last")}));
    EXPECT_THAT(titlesOf(list), testing::ElementsAre("last", "skeleton", "last", "three", "last"));
    EXPECT_THAT(titlesOf(before), testing::Each("skeleton"));
    EXPECT_EQ(list.indexOfId(trackNumber(1).id()), 0);
    EXPECT_FALSE(list.updateById({trackNumber(9)}));
    EXPECT_FALSE(TrackList().updateById({trackNumber(9)}));
}

TEST(TrackList, KnowsWhetherRowsAreTheSame) {
    TrackList list = listOf(100);
    TrackList copy = list;
    EXPECT_TRUE(copy.hasSameRowsAs(list));
    copy.updateById({trackNumber(5, "new")});
    copy.replace(70, trackNumber(70, "new"));
    EXPECT_TRUE(copy.hasSameRowsAs(list)) << "ids and order have stayed";
    EXPECT_NE(copy, list);
    TrackList longer = copy;
    longer.append(trackNumber(100));
    EXPECT_FALSE(longer.hasSameRowsAs(copy));
    EXPECT_EQ(longer.indexOfId(trackNumber(100).id()), 100);
    EXPECT_EQ(copy.size(), 100);
    TrackList other = copy;
    other.replace(0, trackNumber(500));
    EXPECT_FALSE(other.hasSameRowsAs(copy));
    EXPECT_EQ(other.indexOfId(trackNumber(500).id()), 0);
    EXPECT_EQ(other.indexOfId(trackNumber(0).id()), -1);
    EXPECT_EQ(copy.indexOfId(trackNumber(0).id()), 0);
}

TEST(TrackList, AppendingAfterAQuestionIsFound) {
    TrackList list = listOf(3);
    EXPECT_FALSE(list.containsId(trackNumber(3).id()));
    list.append(trackNumber(3));
    EXPECT_EQ(list.indexOfId(trackNumber(3).id()), 3);
}

TEST(TrackList, AChangeCopiesOnlyWhatIsNearIt) {
    const TrackList before = listOf(1000);
    TrackList after = before;
    after.updateById({trackNumber(500, "new")});
    int shared = 0;
    for (qsizetype row = 0; row < before.size(); ++row) {
        shared += &before[row] == &after[row];
        EXPECT_EQ(before[row].sharesRecordWith(after[row]), row != 500);
    }
    EXPECT_GE(shared, 900);
}

// Reading tags of a large folder, eight files at a time, with each state published: what a step
// copies must come from the eight, not from the ten thousand.
TEST(TrackList, PublishingAStepCostsTheStep) {
    constexpr int count = 10'000;
    constexpr int step = 8;
    constexpr int stepsBetweenCounts = 25;
    TrackList current = listOf(count);
    TrackList published = current;
    for (int first = 0; first < count; first += step) {
        QList<Track> updates;
        for (int number = first; number < first + step; ++number) {
            updates.append(trackNumber(number * 7919 % count, "read"));
        }
        const TrackList before = published;
        current.updateById(updates);
        published = current;
        ASSERT_TRUE(published.hasSameRowsAs(before));
        if (first % (step * stepsBetweenCounts) == 0) {
            int copied = 0;
            for (qsizetype row = 0; row < count; ++row) {
                copied += &published[row] != &before[row];
            }
            EXPECT_LE(copied, step * 64) << "rows at other addresses than before";
        }
    }
    EXPECT_THAT(titlesOf(published), testing::Each("read"));
}

TEST(TrackList, CopiesOnSeveralThreadsMayAskFirst) {
    const TrackList list = listOf(2000);
    std::vector<std::thread> threads;
    std::atomic<int> found = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(
            [copy = list, &found] { found += copy.indexOfId("/m/1999.mp3") == 1999; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, 4);
}

}  // namespace
}  // namespace halvenor
