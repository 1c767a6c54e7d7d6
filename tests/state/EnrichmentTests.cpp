#include <map>

#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

std::vector<QByteArray> numbered(int count) {
    std::vector<QByteArray> files;
    for (int i = 1; i <= count; ++i) {
        files.push_back(QByteArray::number(i) + ".wav");
    }
    return files;
}

int readTracks(const TrackList& tracks) {
    int read = 0;
    for (const Track& track : tracks) {
        read += track.duration() > 0;
    }
    return read;
}

using EnrichmentTest = AppStateFixture;

// Each publication is seen as the number of tracks that have been read by then, from the top.
TEST_F(EnrichmentTest, batchesArePublishedEightAtATimeInListingOrder) {
    const std::map<int, std::vector<int>> publications = {
        {1, {1}},
        {8, {8}},
        {9, {8, 9}},
        {100, {8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96, 100}}};
    for (const auto& [count, expected] : publications) {
        const QByteArray name = QByteArray::number(count);
        std::vector<int> published;
        const Subscription seen = state().playbackQueue.subscribe([&](const TrackList& tracks) {
            if (const int read = readTracks(tracks); read > 0) {
                published.push_back(read);
                EXPECT_GT(tracks[read - 1].duration(), 0);
            }
        });
        addLocation(name, numbered(count));
        ASSERT_TRUE(spinUntil([&] { return !state().metadataLoadingFolderID->has_value(); }));
        EXPECT_EQ(published, expected);
        EXPECT_EQ(readTracks(state().folderTracks->value(folder(name).path())), count);
    }
}

TEST_F(EnrichmentTest, readsAgainOnlyWhatHasNoDuration) {
    makeFolder("m", {"1.wav", "2.wav"});
    truncate("m/2.wav");
    addLocation("m");
    openAndRead("m");
    ASSERT_EQ(readTracks(*state().playbackQueue), 1);

    makeFolder("m", {"2.wav"});
    truncate("m/1.wav");
    openAndRead("m");
    EXPECT_EQ(readTracks(*state().playbackQueue), 2) << "1 keeps what was read before";
}

TEST_F(EnrichmentTest, anotherFolderStopsItAndTheFirstGoesOnLater) {
    makeFolder("m/long", numbered(200));
    makeFolder("m/short", {"s.wav"});
    addLocation("m");
    state().openFolder(item("m/long"));
    ASSERT_TRUE(spinUntil([&] { return readTracks(*state().playbackQueue) >= 8; }));
    openAndRead("m/short");
    EXPECT_EQ(titles(*state().playbackQueue), "s");
    const int readBefore = readTracks(state().folderTracks->value(folder("m/long").path()));
    EXPECT_LT(readBefore, 200);
    spinFor(std::chrono::milliseconds(30));
    EXPECT_EQ(readTracks(state().folderTracks->value(folder("m/long").path())), readBefore);

    openAndRead("m/long");
    EXPECT_EQ(readTracks(*state().playbackQueue), 200);
}

TEST_F(EnrichmentTest, thePlayingTrackGetsItsTagsWithoutAnInterruption) {
    makeFolder("m", numbered(20));
    int sources = 0;
    const Subscription seen = state().playbackQueue.subscribe([&](const TrackList& tracks) {
        if (sources == 0 && tracks.size() == 20) {
            EXPECT_EQ(tracks[12].duration(), 0);
            state().play(tracks[12]);
            sources = output_->setSourceCount;
        }
    });
    addLocation("m");
    ASSERT_TRUE(spinUntil([&] { return !state().metadataLoadingFolderID->has_value(); }));
    EXPECT_GT(sources, 0);
    EXPECT_GT((*state().selectedTrack)->duration(), 0);
    EXPECT_EQ(readTracks(*state().playingQueue), 20);
    EXPECT_GT(engine().queuedTrack()->duration(), 0);
    EXPECT_EQ(output_->setSourceCount, sources);
}

TEST_F(EnrichmentTest, updatesReachEveryListAndTheLastOfTwoWins) {
    makeFolder("m/a", {"1.wav", "2.wav"});
    makeFolder("m/b", {"3.wav"});
    addLocation("m");
    openAndRead("m/b");
    openAndRead("m/a");
    state().play(shown(0));
    spinFor(std::chrono::milliseconds(5));
    Track older = shown(0);
    Track newer = older;
    Track elsewhere = state().folderTracks->value(folder("m/b").path()).first();
    older.setTitle(QStringLiteral("older"));
    newer.setTitle(QStringLiteral("newer"));
    elsewhere.setTitle(QStringLiteral("changed"));

    state().applyMetadataUpdates({older, elsewhere, newer});
    for (const TrackList& list : {*state().playbackQueue, *state().playingQueue,
                                  state().folderTracks->value(folder("m/a").path())}) {
        EXPECT_EQ(list.first().title(), QStringLiteral("newer"));
    }
    EXPECT_EQ((*state().selectedTrack)->title(), QStringLiteral("newer"));
    EXPECT_EQ(state().folderTracks->value(folder("m/b").path()).first().title(),
              QStringLiteral("3"))
        << "a folder that is not open keeps its copy until it is reloaded";
}

}  // namespace
}  // namespace halvenor::test
