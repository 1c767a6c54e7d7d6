#include <gmock/gmock.h>

#include "support/EventLoop.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"
#include "tags/TagService.h"

namespace halvenor {
namespace {

using test::runToCompletion;

TEST(TagService, knowsFilesByTheirExtension) {
    struct Case {
        const char* path;
        bool isSupported;
        bool isWritable;
    };
    const Case cases[] = {
        {"/a/song.MP3", true, true},    {"/a/b.FlaC", true, true},   {"/a/b.m4a", true, false},
        {"/a/b.wav", true, false},      {"/a/b.aiff", true, false},  {"/a/b.aif", true, false},
        {"/a/b.aac", true, false},      {"/a/b.ogg", true, false},   {"/a/b.alac", true, false},
        {"/a/b.opus", false, false},    {"/a/mp3", false, false},    {"/a/.mp3", false, false},
        {"/a.mp3/cover", false, false}, {"/a/b.mp3.", false, false}, {"/a/b.txt", false, false},
    };
    for (const Case& each : cases) {
        const FileUrl url{QByteArray(each.path)};
        EXPECT_EQ(TagService::isSupportedAudioFile(url), each.isSupported) << each.path;
        EXPECT_EQ(TagService::supportsTagWriting(url), each.isWritable) << each.path;
    }
    EXPECT_EQ(TagService::supportedExtensions().size(), 9);
}

TEST(TagService, readsBatchesInOrderWhileTheLoopRuns) {
    const test::TemporaryFolder folder;
    QList<FileUrl> urls;
    for (int i = 0; i < 200; ++i) {
        const QByteArray number = QByteArray::number(i);
        const QByteArray tag =
            test::id3Tag(3, test::id3Text(3, "TIT2", QString::fromLatin1(number)));
        urls.append(folder.makeFile(number + ".mp3", tag + test::mp3Frames(10)));
    }
    urls.insert(100, folder.at("missing.mp3"));

    test::EventLoopTicker ticker;
    std::vector<Job<QList<Track>>> batches;
    for (qsizetype first = 0; first < urls.size(); first += 8) {
        batches.push_back(TagService::shared().readMetadata(urls.mid(first, 8)));
    }
    QList<Track> tracks;
    for (const auto& batch : batches) {
        tracks += runToCompletion(batch);
    }

    ASSERT_EQ(tracks.size(), urls.size());
    for (qsizetype i = 0; i < tracks.size(); ++i) {
        EXPECT_EQ(tracks[i].id(), urls[i].path());
        EXPECT_EQ(tracks[i].title().toUtf8(), urls[i].deletingPathExtension().lastPathComponent());
    }
    const Track single = runToCompletion(TagService::shared().readMetadata(urls[7]));
    EXPECT_EQ(single, tracks[7]);
    EXPECT_LT(ticker.longestStall(), 1000);
}

}  // namespace
}  // namespace halvenor
