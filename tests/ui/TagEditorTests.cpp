// The sheets that edit tags: what opens them, what they show, and what a save does to real files.
#include <QAccessible>
#include <QClipboard>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>

#include <filesystem>

#include "discogs/DiscogsService.h"
#include "discogs/Pictures.h"
#include "support/HttpServer.h"
#include "support/TagBytes.h"
#include "support/TemporaryFolder.h"
#include "tags/TagService.h"
#include "ui/WindowFixture.h"
#include "ui/controls/Spinner.h"
#include "ui/tageditor/AlbumTagEditorView.h"
#include "ui/tageditor/ArtworkView.h"
#include "ui/tageditor/DropZone.h"
#include "ui/tageditor/TagEditorView.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

// Takes the pages that are opened, in the browser's place.
class PageCatcher : public QObject {
    Q_OBJECT

  public:
    PageCatcher() { QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "take"); }
    ~PageCatcher() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }

    QByteArrayList pages;

  public Q_SLOTS:
    void take(const QUrl& page) { pages.append(page.toEncoded()); }
};

template <class T>
T* childOf(QWidget& window) {
    for (QWidget* child : window.findChildren<QWidget*>()) {
        if (auto* found = dynamic_cast<T*>(child)) {
            return found;
        }
    }
    return nullptr;
}

class TagEditors : public WindowFixture {
  protected:
    QLineEdit& field(const char* name) { return findByName<QLineEdit>(*window, name); }
    bool isOpen() {
        letDeletionsHappen();
        return childOf<EditorSheet>(*window) != nullptr;
    }
};

TEST_F(TagEditors, areOpenedFromTheMenus) {
    showTracks(3);
    PageCatcher browser;
    select({"/music/t/0", "/music/t/1"});
    contextMenu(list(), 1).choose("Search on Discogs");
    contextMenu(list(), 1).choose("Tag Information…");
    EXPECT_EQ(*state->selectedTrackIDs, QSet<QByteArray>{"/music/t/1"});
    EXPECT_EQ((*state->selectedTrack)->id(), "/music/t/1");
    EXPECT_THAT(texts(), Contains("Track Information"));
    EXPECT_EQ(field("Title").text(), QStringLiteral("1"));
    EXPECT_TRUE(field("Title").hasFocus());
    key(Qt::Key_Escape);
    EXPECT_FALSE(isOpen());

    menuOf("Album Menu").choose("Search on Discogs");
    {
        const OpenMenu menu = menuOf("Album Menu");
        EXPECT_THAT(menu.texts(), ElementsAre("(Show Cover)", "Play Album", "Open in Finder",
                                              "Search on Discogs", "Edit Tags"));
        EXPECT_TRUE(std::ranges::none_of(
            menu.widget().actions(), [](const QAction* entry) { return entry->icon().isNull(); }));
        menu.choose("Edit Tags");
    }
    EXPECT_THAT(texts(), Contains("Album Tag Editor"));
    EXPECT_THAT(texts(), Contains("Changes apply to 0 MP3/FLAC tracks; 3 unsupported file(s) will "
                                  "be skipped."));
    clickButton("Cancel");
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(browser.pages,
              (QByteArrayList{DiscogsService::shared()
                                  .searchUrl(QStringLiteral("Artist"), QStringLiteral("1"))
                                  ->toEncoded(),
                              DiscogsService::shared()
                                  .albumSearchUrl(shown()[0].albumArtist(), shown()[0].album())
                                  ->toEncoded()}));

    state->selectedFolder = std::nullopt;
    EXPECT_THAT(menuOf("Album Menu").texts(),
                ElementsAre("(Show Cover)", "Play Album", "(Open in Finder)", "Search on Discogs",
                            "(Edit Tags)"));
}

TEST_F(TagEditors, sayWhatTheyEdit) {
    struct Case {
        QSet<QByteArray> selection;
        const char* title;
        const char* words;
        Texts fields;
        bool canSave;
    };
    const Case cases[] = {
        {{}, "Track Information", "Select a track to view details", {}, false},
        {{"/music/t/1"},
         "Track Information",
         "Location",
         {"Title", "Artist", "Album", "Location", "Format", "Duration", "File Size"},
         true},
        {{"/music/t/0", "/music/t/2"},
         "Batch Edit (2 Tracks)",
         "Fields below apply to all 2 selected tracks. Track titles are preserved.",
         {"Artist", "Album", "Album Artist"},
         true},
    };
    showTracks(3);
    for (const Case& c : cases) {
        select(c.selection);
        new TagEditorView(window.get(), *state);
        EXPECT_THAT(texts(), Contains(c.title));
        EXPECT_THAT(texts(), Contains(c.words)) << c.title;
        EXPECT_THAT(texts(), Contains("Changes are written to the file only after Save."));
        Texts names;
        for (const QLineEdit* edit : childOf<EditorSheet>(*window)->findChildren<QLineEdit*>()) {
            names.push_back(edit->accessibleName().toStdString());
        }
        EXPECT_EQ(names, c.fields) << c.title;
        EXPECT_EQ(button("Save").isEnabled(), c.canSave) << c.title;
        EXPECT_FALSE(button("Close without saving").toolTip().isEmpty());
        clickButton("Close without saving");
        EXPECT_FALSE(isOpen()) << c.title;
    }
}

TEST_F(TagEditors, promptForWhatDiffers) {
    showTracks(2);
    Track changed = shown()[1];
    changed.setAlbum(QStringLiteral("Another"));
    changed.setYear(1999);
    state->playbackQueue = TrackList{shown()[0], changed};
    select({"/music/t/0", "/music/t/1"});
    const auto expectPrompts = [&](const char* where) {
        EXPECT_EQ(field("Artist").text(), QStringLiteral("Artist")) << where;
        EXPECT_EQ(field("Artist").placeholderText(), QString()) << where;
        EXPECT_EQ(field("Album").text(), QString()) << where;
        EXPECT_EQ(field("Album").placeholderText(), QStringLiteral("<multiple>")) << where;
        EXPECT_EQ(field("Album").height(), 32) << where;
    };
    new TagEditorView(window.get(), *state);
    expectPrompts("tracks");
    key(Qt::Key_Escape);
    ASSERT_FALSE(isOpen());
    new AlbumTagEditorView(window.get(), *state, shown());
    expectPrompts("album");
    EXPECT_EQ(field("Year").placeholderText(), QStringLiteral("<multiple>"));
    EXPECT_EQ(field("Year").width(), 90);
}

TEST_F(TagEditors, canBeWorkedByTheKeyboardAlone) {
    showTracks(1);
    list().setFocus();
    new AlbumTagEditorView(window.get(), *state, shown());
    Texts stops;
    do {
        stops.push_back(focused());
        key(Qt::Key_Tab);
    } while (stops.size() < 20 && !field("Album").hasFocus());
    EXPECT_THAT(stops,
                ElementsAre("Album", "Artist", "Album Artist", "Year", "Find Cover on Discogs",
                            "Browse", "Paste", "Close without saving", "Cancel", "Save"));
    const auto roleOf = [](QWidget* widget) {
        return QAccessible::queryAccessibleInterface(widget)->role();
    };
    EXPECT_EQ(roleOf(childOf<EditorSheet>(*window)), QAccessible::Dialog);
    EXPECT_EQ(roleOf(childOf<ArtworkView>(*window)), QAccessible::Graphic);
    EXPECT_EQ(roleOf(&button("Paste")), QAccessible::PushButton);
    key(Qt::Key_Return);  // in a field: the answer that stands out
    EXPECT_THAT(texts(), Contains("This folder contains no writable MP3 or FLAC files."));
    button("Cancel").setFocus();
    key(Qt::Key_Return);
    EXPECT_FALSE(isOpen());
    EXPECT_TRUE(list().hasFocus());
}

TEST_F(TagEditors, cutLongTextsShortAndMirror) {
    const QByteArray path = "/music/" + QByteArray(300, 'x') + "/\xFF.flac";
    state->playbackQueue =
        TrackList{exampleTrack(path, QString(500, QChar(0x6D77)), QStringLiteral("a"))};
    select({path});
    window->setLayoutDirection(Qt::RightToLeft);
    new TagEditorView(window.get(), *state);
    QLineEdit& location = field("Location");
    EXPECT_EQ(location.toolTip(), displayText(path));
    const QRect card(QPoint((window->width() - 460) / 2, (window->height() - 590) / 2),
                     QSize(460, 590));
    for (const char* name : {"Title", "Location"}) {
        const QRect place(field(name).mapTo(window.get(), QPoint()), field(name).size());
        EXPECT_TRUE(card.contains(place)) << name;
    }
    const QWidget& cover = *childOf<ArtworkView>(*window);
    EXPECT_EQ(cover.size(), QSize(145, 145));
    EXPECT_GT(cover.mapTo(window.get(), QPoint()).x(),
              field("Title").mapTo(window.get(), QPoint()).x());
    EXPECT_TRUE(field("Title").hasFocus());
    key(Qt::Key_Tab);
    EXPECT_TRUE(field("Artist").hasFocus());
}

// ---- The cover of an album

class AlbumCover : public TagEditors {
  protected:
    AlbumCover() {
        discogs.baseUrl = server.url("/search");
        showTracks(1);
        service = std::make_unique<DiscogsService>(discogs);
        new AlbumTagEditorView(window.get(), *state, shown(), *service);
        zone = childOf<DropZone>(*window);
        folder.makeFile("notes.txt", "text");
        folder.makeFile("front.png", picture("png"));
    }
    ~AlbumCover() override { window.reset(); }

    // As a desktop tells the window: enter, and drop if that was accepted.
    bool drop(QMimeData& data, bool isDropped = true) {
        QDragEnterEvent enter({10, 10}, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(zone, &enter);
        EXPECT_EQ(zone->isDropTargeted(), enter.isAccepted());
        if (!enter.isAccepted()) {
            return false;
        }
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction) << "the file stays where it is";
        if (isDropped) {
            QDropEvent dropped({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(zone, &dropped);
        } else {
            QDragLeaveEvent leave;
            QCoreApplication::sendEvent(zone, &leave);
        }
        EXPECT_FALSE(zone->isDropTargeted());
        return true;
    }

    TemporaryFolder folder;
    HttpServer server;
    DiscogsConfiguration discogs;
    std::unique_ptr<DiscogsService> service;
    DropZone* zone = nullptr;
};

TEST_F(AlbumCover, isDropped) {
    EXPECT_GE(zone->height(), 132);
    const std::pair<const char*, const char*> cases[] = {
        {"notes.txt", "Please select an image file, not notes.txt."},
        {"front.png", "front.png"},
    };
    for (const auto& [name, text] : cases) {
        QMimeData data;
        data.setUrls({QUrl::fromEncoded(folder.at(name).encoded())});
        EXPECT_TRUE(drop(data, false));
        EXPECT_TRUE(drop(data)) << name;
        EXPECT_TRUE(comesToShow(text)) << name;
    }
    QMimeData words;
    words.setText(QStringLiteral("/etc/passwd"));
    EXPECT_FALSE(drop(words));
    EXPECT_THAT(texts(), Contains("front.png"));
}

TEST_F(AlbumCover, isPastedOrChosen) {
    QGuiApplication::clipboard()->setText(QStringLiteral("words"));
    clickButton("Paste");
    EXPECT_THAT(texts(), Contains("The clipboard does not contain an image."));
    QImage image(40, 40, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QGuiApplication::clipboard()->setImage(image);
    clickButton("Paste");
    EXPECT_THAT(texts(), Contains("The clipboard does not contain an image.").Times(0));
    EXPECT_TRUE(comesToShow("Clipboard"));
    QTest::qWait(100);  // The picture is decoded beside the main thread.
    EXPECT_TRUE(spinUntil([&] {
        const QImage seen = zone->grab().toImage();
        const int left = seen.width() / 2 - 60;
        return seen.pixelColor(left, seen.height() / 2) == QColor(Qt::darkGreen);
    }));

    clickButton("Browse");
    EXPECT_EQ(fileDialog().fileMode(), QFileDialog::ExistingFile);
    choose(fileDialog(), folder.path("front.png"));
    EXPECT_TRUE(comesToShow("front.png"));
}

TEST_F(AlbumCover, showsASignOfWorkThatTakesTime) {
    const auto isShown = [&] { return childOf<Spinner>(*zone)->isVisible(); };
    zone->setImporting(true);
    EXPECT_FALSE(isShown());
    EXPECT_TRUE(spinUntil(isShown));
    zone->setImporting(false);
    EXPECT_FALSE(isShown());
}

TEST_F(AlbumCover, isLookedForOnDiscogs) {
    server.answer("/search", HttpAnswer::silence());
    clickButton("Find Cover on Discogs");
    ASSERT_TRUE(spinUntil([&] { return server.requests().size() == 1; }));
    clickButton("Searching…");
    spinFor(std::chrono::milliseconds(50));
    EXPECT_EQ(server.requests().size(), 1) << "one search at a time";
    key(Qt::Key_Escape);
    EXPECT_FALSE(isOpen()) << "nobody waits for a search";
    EXPECT_TRUE(spinUntil([&] { return server.openConnections() == 0; }));

    server.answer("/search", HttpAnswer::ok("{\"results\": []}"));
    new AlbumTagEditorView(window.get(), *state, shown(), *service);
    clickButton("Find Cover on Discogs");
    EXPECT_TRUE(comesToShow("No cover was found on Discogs."));
    EXPECT_TRUE(button("Find Cover on Discogs").isEnabled());
}

// ---- Saving

class TagSave : public TagEditors {
  protected:
    void openFiles() {
        for (const char* name : {"1.mp3", "2.mp3", "3.mp3"}) {
            folder.makeFile(QByteArray("a/") + name,
                            id3Tag(3, id3Text(3, "TIT2", QString::fromUtf8(name)) +
                                          id3Text(3, "TALB", QStringLiteral("Old"))) +
                                mp3Frames(10));
        }
        state->openDirectory(folder.url());
        state->openFolder(FolderItem(folder.at("a"), true));
        EXPECT_TRUE(spinUntil(
            [&] { return state->playbackQueue->size() == 3 && !*state->metadataLoadingFolderID; }));
    }

    QString storedAlbum(const char* name) {
        const FileUrl url = folder.at(QByteArray("a/") + name);
        return runToCompletion(TagService::shared().readMetadata(url)).album();
    }
    QString shownAlbum(int row) { return state->playbackQueue->at(row).album(); }

    TemporaryFolder folder;
};

TEST_F(TagSave, changesFilesAndTheListAndCloses) {
    openFiles();
    new AlbumTagEditorView(window.get(), *state, shown());
    field("Album").setText(QStringLiteral("  Neu — 新しい "));
    key(Qt::Key_Return);
    EXPECT_FALSE(button("Saving…").isEnabled());
    key(Qt::Key_Return);  // Nothing to press.
    ASSERT_TRUE(spinUntil([&] { return !isOpen(); }));
    for (int row = 0; row < 3; ++row) {
        EXPECT_EQ(shownAlbum(row), QStringLiteral("  Neu — 新しい ")) << row;
    }
    EXPECT_EQ(storedAlbum("2.mp3"), QStringLiteral("  Neu — 新しい "));

    select({folder.path("a/1.mp3")});
    new TagEditorView(window.get(), *state);
    EXPECT_EQ(field("Location").text(), displayText(folder.path("a/1.mp3")));
    field("Title").setText(QStringLiteral("Not to be"));
    key(Qt::Key_Escape);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(state->playbackQueue->at(0).title(), QStringLiteral("1.mp3"));
}

TEST_F(TagSave, tellsWhichFilesItCouldNotWriteAndStaysOpen) {
    const Unprivileged user(folder);
    openFiles();
    std::filesystem::permissions(folder.path("a/2.mp3").toStdString(),
                                 std::filesystem::perms::owner_read);
    select({folder.path("a/1.mp3"), folder.path("a/2.mp3"), folder.path("a/3.mp3")});
    new TagEditorView(window.get(), *state);
    field("Album").setText(QStringLiteral("New"));
    clickButton("Save");
    EXPECT_TRUE(comesToShow("Could not update 1 file(s): 2.mp3"));
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(button("Save").isEnabled());
    EXPECT_EQ(shownAlbum(0), QStringLiteral("New"));
    EXPECT_EQ(shownAlbum(1), QStringLiteral("Old"));
    EXPECT_EQ(storedAlbum("2.mp3"), QStringLiteral("Old"));
    EXPECT_EQ(storedAlbum("3.mp3"), QStringLiteral("New"));
}

}  // namespace
}  // namespace halvenor::test

#include "TagEditorTests.moc"
