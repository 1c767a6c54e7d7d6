// Tags that are saved while their file plays: what arrives at the sound server stays the music, and
// everything that holds the track tells its new title and follows the new file.
#include <filesystem>
#include <gtest/gtest.h>

#include "editing/AlbumTagEditor.h"
#include "editing/TrackTagEditor.h"
#include "platform/audio/Outputs.h"
#include "platform/decode/AudioFile.h"
#include "state/AppState.h"
#include "support/EventLoop.h"
#include "support/MediaLibrary.h"
#include "support/SoundServer.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {
namespace {

constexpr AudioFormat cd{44100, 2};

std::vector<float> decoded(const FileUrl& url) {
    const auto file = AudioFile::open(url);
    std::vector<float> samples(static_cast<size_t>(file->length() * cd.channels));
    EXPECT_EQ(file->read(samples.data(), file->length()), file->length());
    return samples;
}

class PlayingFile : public testing::TestWithParam<const char*> {
  protected:
    PlayingFile() {
        const MediaKind& kind = mediaKind(GetParam());
        const Signal music = makeSignal(firstFrames + secondFrames);
        const QByteArray extension = QByteArray::fromStdString(kind.extension);
        folder_.makeFolder("lib/a");
        first_ = folder_.at("lib/a/1." + extension);
        second_ = folder_.at("lib/a/2." + extension);
        kind.write(first_, music.part(0, firstFrames));
        kind.write(second_, music.part(firstFrames, secondFrames));
        state_.openDirectory(folder_.at("lib"));
        state_.openFolder(FolderItem(folder_.at("lib/a"), true));
    }
    static constexpr int64_t firstFrames = 3 * 44100 + 11;
    static constexpr int64_t secondFrames = 20021;

    AudioEngineManager& engine() { return state_.audioEngine(); }
    QString shownTitle(qsizetype row) { return state_.playbackQueue->at(row).title(); }
    void check() {
        const int before = *state_.finishedRelocationChecks;
        state_.checkRelocations();
        ASSERT_TRUE(spinUntil([&] { return *state_.finishedRelocationChecks > before; }));
        spinFor(std::chrono::milliseconds(100));  // Another may have been asked for meanwhile.
    }
    void show(const Playlist& playlist) {
        state_.showPlaylist(playlist);
        ASSERT_TRUE(spinUntil([&] {
            return *state_.openPlaylist == playlist && !*state_.isScanning &&
                   state_.playbackQueue->size() == playlist.trackURLs.size();
        }));
    }
    /// Saves, as the button does, and waits for the editor to close.
    template <class Editor>
    void save(Editor& editor) {
        bool isDismissed = false;
        editor.onDismiss = [&] { isDismissed = true; };
        editor.save();
        ASSERT_TRUE(spinUntil([&] { return isDismissed; }))
            << editor.errorMessage->value_or(QString()).toStdString();
    }

    TemporaryFolder folder_;
    FileUrl first_, second_;
    SoundServer server_{cd};
    AppState state_{AppState::Dependencies(makeSystemOutput(QStringLiteral("Halvenor")),
                                           folder_.at("settings.json"), folder_.at("data"),
                                           [] { return SystemAppearance::dark; })};
};

TEST_P(PlayingFile, soundsAsBeforeAndGoesByItsNewTitle) {
    std::vector<float> expected = decoded(first_);
    const std::vector<float> rest = decoded(second_);
    expected.insert(expected.end(), rest.begin(), rest.end());
    ASSERT_TRUE(spinUntil(
        [&] { return state_.playbackQueue->size() == 2 && !*state_.metadataLoadingFolderID; }));
    const Track track = state_.playbackQueue->first();
    const Playlist playlist =
        state_.playlistManager().createPlaylist(QStringLiteral("One"), {track});
    state_.toggleFavorite(track);
    check();

    SoundRecorder recorder(server_);
    state_.play(track);
    ASSERT_TRUE(spinUntil([&] { return *engine().currentTime > 0.3; }));
    state_.selectedTrackIDs = QSet<QByteArray>{track.id()};
    TrackTagEditor title(state_);
    title.title = QStringLiteral("Another Title");
    save(title);
    EXPECT_EQ(shownTitle(0), QStringLiteral("Another Title"));
    EXPECT_EQ((*engine().currentTrack)->title(), QStringLiteral("Another Title"));
    EXPECT_EQ((*state_.selectedTrack)->title(), QStringLiteral("Another Title"));
    // Both files, the one that is queued and open included, become much longer at their heads.
    AlbumTagEditor album(state_, {state_.playbackQueue->begin(), state_.playbackQueue->end()});
    album.album.text = QStringLiteral("Another Album");
    album.changeArtwork("\x89PNG\r\n\x1a\n" + QByteArray(400'000, 'x'), QStringLiteral("c.png"));
    save(album);
    EXPECT_EQ(engine().queuedTrack()->album(), QStringLiteral("Another Album"));
    ASSERT_LT(*engine().currentTime, 2.5) << "the saves came too late to disturb anything";
    ASSERT_EQ(state_.playbackHistory->size(), 0);

    ASSERT_TRUE(spinUntil([&] { return state_.playbackHistory->size() == 2; }));
    const Comparison result = compare(expected, recorder.finish(), cd.channels);
    EXPECT_TRUE(result.isExact(firstFrames + secondFrames)) << result.text();
    EXPECT_FALSE(state_.playbackErrorMessage->has_value());
    EXPECT_EQ(decoded(first_), std::vector<float>(expected.begin(), expected.end() - rest.size()));

    show(playlist);
    EXPECT_EQ(shownTitle(0), QStringLiteral("Another Title"));
    show(state_.playlistManager().favoritesPlaylist());
    EXPECT_EQ(shownTitle(0), QStringLiteral("Another Title"));
    EXPECT_TRUE(state_.isFavorite(state_.playbackQueue->first()));

    // At once: no check has come between the save and the move.
    const FileUrl moved = folder_.at("lib/b/other." + first_.pathExtension());
    folder_.makeFolder("lib/b");
    std::filesystem::rename(first_.path().toStdString(), moved.path().toStdString());
    check();
    EXPECT_EQ(state_.playlistManager().playlists->first().trackURLs, QList<FileUrl>{moved});
    EXPECT_EQ(*state_.favoriteTrackPaths, QSet<QByteArray>{moved.path()});
}

INSTANTIATE_TEST_SUITE_P(Kinds, PlayingFile, testing::Values("flac 16", "mp3 lame V2"),
                         [](const auto& one) { return one.index == 0 ? "flac" : "mp3"; });

}  // namespace
}  // namespace halvenor::test
