// The two editors of tags, from the fields to the files.
#include "discogs/Pictures.h"
#include "editing/AlbumTagEditor.h"
#include "editing/TrackTagEditor.h"
#include "state/AppStateFixture.h"
#include "support/MediaLibrary.h"
#include "support/TagBytes.h"
#include "tags/TagService.h"

namespace halvenor::test {
namespace {

// An album of an MP3, a FLAC and a WAV file, open in the state.
class EditorTest : public AppStateFixture {
  protected:
    void SetUp() override {
        makeFolder("m", {"c.wav"});
        makeFile("m/a.mp3", id3Tag(3, id3Text(3, "TIT2", QStringLiteral("One")) +
                                          id3Text(3, "TPE1", QStringLiteral("Ada")) +
                                          id3Text(3, "TALB", QStringLiteral("First")) +
                                          id3Text(3, "TYER", QStringLiteral("1999"))) +
                                mp3Frames(10));
        makeFile("m/b.flac", readBytes(MediaLibrary::shared().file("flac 16", 4000)));
        addLocation("m");
        openAndRead("m");
        ASSERT_EQ(state().playbackQueue->size(), 3);
    }
    QList<Track> shown() { return {state().playbackQueue->begin(), state().playbackQueue->end()}; }
    Track shown(qsizetype row) { return state().playbackQueue->at(row); }
    Track stored(const QByteArray& relative) {
        return runToCompletion(TagService::shared().readMetadata(folder(relative)));
    }
    /// Saves and waits. @return whether the editor would have closed
    template <class Editor>
    bool saves(Editor& editor) {
        bool isDismissed = false;
        editor.onDismiss = [&] { isDismissed = true; };
        editor.save();
        EXPECT_TRUE(spinUntil([&] { return !*editor.isSaving; }));
        return isDismissed;
    }
    void select(const std::vector<const char*>& names) {
        QSet<QByteArray> ids;
        for (const char* name : names) {
            ids.insert(folder(name).path());
        }
        state().selectedTrackIDs = ids;
    }
};

TEST_F(EditorTest, theAlbumEditorSetsWhatWasTypedAndKeepsWhatDiffered) {
    AlbumTagEditor editor(state(), shown());
    EXPECT_TRUE(editor.album.wasMultiple);
    EXPECT_TRUE(editor.album.text.isEmpty());
    EXPECT_TRUE(editor.yearWasMultiple());
    editor.artist.text = QStringLiteral("Everyone");
    editor.year = QStringLiteral(" +2001\n");
    editor.changeArtwork(picture("png"), QStringLiteral("front.png"));
    EXPECT_TRUE(saves(editor)) << editor.errorMessage->value_or(QString()).toStdString();

    for (const char* name : {"m/a.mp3", "m/b.flac"}) {
        const Track track = stored(name);
        EXPECT_EQ(track.artist(), QStringLiteral("Everyone")) << name;
        EXPECT_EQ(track.year(), 2001) << name;
        EXPECT_EQ(track.artworkData().bytes(), picture("png")) << name;
    }
    EXPECT_EQ(stored("m/a.mp3").album(), QStringLiteral("First"));
    EXPECT_EQ(stored("m/a.mp3").title(), QStringLiteral("One"));
    EXPECT_EQ(shown(0).artist(), QStringLiteral("Everyone"));
    EXPECT_NE(shown(2).artist(), QStringLiteral("Everyone")) << "the WAV";

    AlbumTagEditor again(state(), {shown(0)});
    EXPECT_EQ(again.year, QStringLiteral("2001"));
    again.album.text.clear();  // Not multiple: an emptied field blanks the tag.
    again.year.clear();
    EXPECT_TRUE(saves(again));
    EXPECT_EQ(shown(0).album(), QString());
    EXPECT_EQ(stored("m/a.mp3").year(), 2001);
}

TEST_F(EditorTest, badYearsAndUnwritableFoldersWriteNothing) {
    const QByteArray before = readBytes(folder("m/a.mp3"));
    for (const char* year : {"199", "10000", "19 99", "abcd", "0999", "-1999", "1999.0"}) {
        AlbumTagEditor editor(state(), shown());
        editor.year = QString::fromLatin1(year);
        EXPECT_FALSE(saves(editor)) << year;
        EXPECT_EQ(*editor.errorMessage, QStringLiteral("Year must contain four digits.")) << year;
    }
    AlbumTagEditor onlyWav(state(), {shown(2)});
    EXPECT_FALSE(saves(onlyWav));
    EXPECT_EQ(*onlyWav.errorMessage,
              QStringLiteral("This folder contains no writable MP3 or FLAC files."));
    EXPECT_EQ(readBytes(folder("m/a.mp3")), before);
}

TEST_F(EditorTest, failuresAreToldAndDoNotStopTheOthers) {
    makeFolder("n");
    QList<Track> edited = tracks({"n/gone 1.mp3", "n/gone 2.mp3", "n/gone 3.flac", "n/gone 4.mp3"});
    edited.insert(1, shown(0));
    AlbumTagEditor editor(state(), edited);
    editor.album.text = QStringLiteral("Second");
    EXPECT_FALSE(saves(editor));
    EXPECT_EQ(*editor.errorMessage,
              QStringLiteral("Could not update 4 file(s): gone 1.mp3, gone 2.mp3, gone 3.flac"));
    EXPECT_EQ(stored("m/a.mp3").album(), QStringLiteral("Second"));
    EXPECT_EQ(shown(0).album(), QStringLiteral("Second"));
    EXPECT_FALSE(itemExists(folder("n/gone 1.mp3")));
}

TEST_F(EditorTest, theTrackEditorTakesTheSelectionOrTheCurrentTrack) {
    select({"m/b.flac", "m/a.mp3", "m/c.wav"});
    {
        TrackTagEditor several(state());
        EXPECT_EQ(several.editingTracks().size(), 3);
        several.album.text = QStringLiteral("Shared");
        EXPECT_FALSE(saves(several));
        EXPECT_EQ(*several.errorMessage, QStringLiteral("Could not update 1 file(s): c.wav"));
        EXPECT_EQ(stored("m/a.mp3").title(), QStringLiteral("One"));
        EXPECT_EQ(stored("m/a.mp3").artist(), QStringLiteral("Ada")) << "differed, left empty";
        EXPECT_EQ(stored("m/b.flac").album(), QStringLiteral("Shared"));
    }
    state().play(shown(0));
    ASSERT_TRUE(spinUntil([&] { return state().selectedTrack->has_value(); }));
    select({});
    TrackTagEditor one(state());
    ASSERT_EQ(one.editingTracks().size(), 1);
    EXPECT_EQ(one.title, QStringLiteral("One"));
    one.title = QStringLiteral("Uno");
    one.albumArtist.text = QStringLiteral("not for one track");
    EXPECT_TRUE(saves(one));
    EXPECT_EQ(stored("m/a.mp3").title(), QStringLiteral("Uno"));
    EXPECT_EQ(stored("m/a.mp3").albumArtist(), QStringLiteral("Ada"));
    EXPECT_EQ((*state().selectedTrack)->title(), QStringLiteral("Uno"));
    EXPECT_TRUE(*engine().isPlaying) << "a file that is rewritten plays on";
}

TEST_F(EditorTest, aFileThatWasTaggedAndThenMovedIsStillFollowed) {
    state().toggleFavorite(shown(0));
    const auto checks = [&] { return *state().finishedRelocationChecks; };
    ASSERT_TRUE(spinUntil([&] { return state().relocationStore().records().size() == 2; }));
    AlbumTagEditor editor(state(), shown());
    editor.artist.text = QStringLiteral("New");
    EXPECT_TRUE(saves(editor));
    moveItem("m/a.mp3", "m/moved.mp3");
    const int before = checks();
    state().checkRelocations();
    ASSERT_TRUE(spinUntil([&] { return checks() > before; }));
    EXPECT_EQ(*state().favoriteTrackPaths, QSet<QByteArray>{folder("m/moved.mp3").path()});
}

}  // namespace
}  // namespace halvenor::test
