// The editors' search for a cover: what they ask for, take and tell.
#include "discogs/Pictures.h"
#include "editing/AlbumTagEditor.h"
#include "editing/ArtworkFormat.h"
#include "editing/TrackTagEditor.h"
#include "state/AppStateFixture.h"
#include "support/HttpServer.h"

namespace halvenor::test {
namespace {

DiscogsConfiguration pointedAt(const HttpServer& server) {
    DiscogsConfiguration configuration;
    configuration.baseUrl = server.url("/search");
    return configuration;
}

Track tagged(const char* artist, const char* album, const char* albumArtist) {
    TrackFields fields;
    fields.url = FileUrl("/m/a.mp3");
    fields.artist = QString::fromUtf8(artist);
    fields.album = QString::fromUtf8(album);
    fields.albumArtist = QString::fromUtf8(albumArtist);
    return Track(fields);
}

class CoverSearchTest : public AppStateFixture {
  protected:
    CoverSearchTest() { server_.answer("/search", HttpAnswer::ok("{\"results\": []}")); }

    // From now on the service has this image for Ada's First.
    void offer(const QByteArray& image) {
        server_.answer("/search", HttpAnswer::ok("{\"results\": [{\"title\": \"Ada - First\", "
                                                 "\"cover_image\": \"" +
                                                 server_.address("/cover") + "\"}]}"));
        server_.answer("/cover", HttpAnswer::ok(image, "image/any"));
    }

    template <class Editor>
    void fetch(Editor& editor) {
        editor.errorMessage = QStringLiteral("before");
        editor.fetchDiscogsCover();
        ASSERT_TRUE(spinUntil([&] { return !*editor.isSearchingCover(); }));
    }

    // What the album editor asks for, or what it says instead.
    std::string asks(AlbumTagEditor& editor) {
        const qsizetype before = server_.requests().size();
        fetch(editor);
        if (server_.requests().size() == before) {
            return editor.errorMessage->value_or(QString()).toStdString();
        }
        EXPECT_EQ(*editor.errorMessage, QStringLiteral("No cover was found on Discogs."));
        const QByteArray target = server_.targets().last();
        return QByteArray::fromPercentEncoding(target.split('&').first().mid(10)).toStdString();
    }

    HttpServer server_;
    DiscogsService discogs_{pointedAt(server_)};
};

TEST_F(CoverSearchTest, theAlbumEditorAsksByItsFieldsAndThenByItsFirstTrack) {
    struct Case {
        const char* albumArtist;  // as typed
        const char* artist;
        const char* album;
        const char* asked;
    };
    const Track whole = tagged("Singer", "First", "Band");
    const Track noBand = tagged("Singer", "First", "");
    const Case cases[] = {{"Typed", "Other", "Name", "Typed Name"},
                          {" \n", "Other", " Name ", "Other Name"},
                          {"", " ", "\t", "Band First"}};
    for (const Case& typed : cases) {
        AlbumTagEditor editor(state(), {whole, noBand}, discogs_);
        editor.albumArtist.text = QString::fromUtf8(typed.albumArtist);
        editor.artist.text = QString::fromUtf8(typed.artist);
        editor.album.text = QString::fromUtf8(typed.album);
        EXPECT_EQ(asks(editor), typed.asked);
    }
    AlbumTagEditor bandless(state(), {noBand, whole}, discogs_);
    bandless.artist.text.clear();
    EXPECT_EQ(asks(bandless), "Singer First");

    const char* const refusal = "Artist and album are required to search Discogs.";
    for (const Track& incomplete : {tagged("", "First", ""), tagged("Singer", "", "")}) {
        AlbumTagEditor editor(state(), {incomplete}, discogs_);
        EXPECT_EQ(asks(editor), refusal);
    }
    AlbumTagEditor empty(state(), {}, discogs_);
    EXPECT_EQ(asks(empty), "before") << "nothing to search for, nothing said";
}

TEST_F(CoverSearchTest, theAlbumEditorTakesTheCoverInTheFormOfFiles) {
    AlbumTagEditor editor(state(), {tagged("Ada", "First", "")}, discogs_);
    offer(picture("webp"));
    fetch(editor);
    ASSERT_TRUE(spinUntil([&] { return !*editor.isImportingArtwork; }));
    EXPECT_EQ(*editor.selectedArtworkData, normalizedArtworkData(picture("webp")));
    EXPECT_EQ(*editor.selectedArtworkFileName, QStringLiteral("Discogs"));
    EXPECT_TRUE(editor.artworkWasChanged());
    EXPECT_FALSE(*editor.errorMessage);
}

TEST_F(CoverSearchTest, theLastImageThatCameWins) {
    AlbumTagEditor editor(state(), {tagged("Ada", "First", "")}, discogs_);
    editor.applyArtworkData(noisePicture(1500, 1500), QStringLiteral("slow.jpg"));
    editor.applyArtworkData(picture("png"), QStringLiteral("fast.png"));
    EXPECT_TRUE(*editor.isImportingArtwork);
    ASSERT_TRUE(spinUntil([&] { return !*editor.isImportingArtwork; }));
    EXPECT_EQ(*editor.selectedArtworkFileName, QStringLiteral("fast.png"));

    editor.applyArtworkData("text", QStringLiteral("cover.jpg"));
    ASSERT_TRUE(spinUntil([&] { return !*editor.isImportingArtwork; }));
    EXPECT_EQ(*editor.errorMessage, QStringLiteral("The selected file is not a supported image."));
    EXPECT_EQ(*editor.selectedArtworkData, picture("png"));
    EXPECT_EQ(*editor.selectedArtworkFileName, QStringLiteral("fast.png"));
}

TEST_F(CoverSearchTest, theTrackEditorTakesTheCoverAsItIsForOneTrackAlone) {
    makeFolder("m", {"a.wav", "b.wav"});
    addLocation("m");
    openAndRead("m");
    const QByteArray one = folder("m/a.wav").path();
    state().selectedTrackIDs = QSet<QByteArray>{one, folder("m/b.wav").path()};
    {
        TrackTagEditor several(state(), discogs_);
        fetch(several);
        EXPECT_EQ(*several.errorMessage, QStringLiteral("before"));
        EXPECT_TRUE(server_.requests().isEmpty());
    }
    state().selectedTrackIDs = QSet<QByteArray>{one};
    TrackTagEditor editor(state(), discogs_);
    const Track& edited = editor.editingTracks().first();
    editor.artist.text.clear();
    editor.album.text = QStringLiteral("Typed");
    fetch(editor);
    EXPECT_EQ(*editor.errorMessage, QStringLiteral("No cover was found on Discogs."));
    EXPECT_FALSE(editor.artworkWasChanged());
    EXPECT_TRUE(server_.targets().last().startsWith(
        "/search?q=" + edited.artist().toUtf8().toPercentEncoding() + "%20Typed&"))
        << server_.targets().last().toStdString();

    offer(gifPicture());
    editor.artist.text = QStringLiteral("ada");
    editor.album.text = QStringLiteral("FIRST");
    fetch(editor);
    EXPECT_EQ(*editor.selectedArtworkData, gifPicture());
    EXPECT_TRUE(editor.artworkWasChanged());
    EXPECT_FALSE(*editor.errorMessage);
}

TEST_F(CoverSearchTest, endsWithItsEditor) {
    server_.answer("/search", HttpAnswer::silence());
    {
        AlbumTagEditor editor(state(), {tagged("Ada", "First", "")}, discogs_);
        for (int i = 1; i <= 2; ++i) {  // the second search ends the first
            editor.fetchDiscogsCover();
            ASSERT_TRUE(spinUntil(
                [&] { return server_.requests().size() == i && server_.openConnections() == 1; }));
            EXPECT_TRUE(*editor.isSearchingCover());
        }
        editor.applyArtworkData(noisePicture(500, 500), QStringLiteral("late.jpg"));
    }
    EXPECT_TRUE(spinUntil([&] { return server_.openConnections() == 0; }));
}

}  // namespace
}  // namespace halvenor::test
