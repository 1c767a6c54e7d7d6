#include <gmock/gmock.h>
#include <vector>

#include "PlaylistFixture.h"
#include "support/EventLoop.h"
#include "support/MediaLibrary.h"

namespace halvenor::test {
namespace {

class Resolving : public PlaylistFixture {
  protected:
    // A file of music, and the URL of it.
    FileUrl music(const QByteArray& name) {
        static const QByteArray wav = readBytes(MediaLibrary::shared().file("wav s16", 2000));
        return directory().makeFile(name, wav);
    }
    static Playlist of(const QList<FileUrl>& urls) {
        return {QUuid::createUuid(), QStringLiteral("p"), urls};
    }
};

TEST_F(Resolving, GivesWhatExistsInOrderWithItsTags) {
    const FileUrl first = music("a\xFF.wav");
    const FileUrl second = music("b.wav");
    directory().makeLink("dangling.wav", "gone");
    const FileUrl link = directory().makeLink("link.wav", "b.wav");
    const TrackList tracks = runToCompletion(manager().resolveTracks(
        of({second, directory().at("missing.wav"), first, FileUrl("/gone/c.wav"),
            directory().at("dangling.wav"), link, second})));
    const std::vector<FileUrl> expected = {second, first, link, second};
    ASSERT_EQ(tracks.size(), std::ssize(expected));
    for (qsizetype row = 0; row < tracks.size(); ++row) {
        EXPECT_EQ(tracks[row].url(), expected[static_cast<size_t>(row)]);
        EXPECT_GT(tracks[row].duration(), 0);
    }
    EXPECT_TRUE(runToCompletion(manager().resolveTracks(of({}))).isEmpty());
}

TEST_F(Resolving, OrderHoldsOverManyBatchesAndTheLoopGoesOn) {
    QList<FileUrl> urls;
    for (int i = 0; i < 500; ++i) {
        urls.prepend(music(QByteArray::number(i) + ".wav"));
    }
    const EventLoopTicker ticker;
    const TrackList tracks = runToCompletion(manager().resolveTracks(of(urls)));
    EXPECT_GT(ticker.ticks(), 2);
    ASSERT_EQ(tracks.size(), urls.size());
    for (qsizetype row = 0; row < tracks.size(); ++row) {
        ASSERT_EQ(tracks[row].url(), urls[row]);
    }
}

TEST_F(Resolving, EndsSoonWhenItIsStoppedAndWhenTheManagerGoes) {
    QList<FileUrl> urls;
    for (int i = 0; i < 300; ++i) {
        urls.append(music(QByteArray::number(i) + ".wav"));
    }
    std::stop_source stop;
    stop.request_stop();
    EXPECT_LT(runToCompletion(manager().resolveTracks(of(urls), stop.get_token())).size(), 300);

    std::stop_source later;
    auto running = manager().resolveTracks(of(urls), later.get_token());
    spinFor(std::chrono::milliseconds(1));
    later.request_stop();
    EXPECT_LT(runToCompletion(std::move(running)).size(), 300);

    auto orphan = manager().resolveTracks(of(urls));
    restart();
    const auto found = runToCompletion(std::move(orphan)).size();
    EXPECT_TRUE(found == 0 || found == 300) << found;
}

}  // namespace
}  // namespace halvenor::test
