// Files and folders that move while they are remembered, on a real disk.
#include <filesystem>

#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

// Answers at once, as a user who has made up their mind.
class Answers : public UserPrompts {
  public:
    void chooseFolder(const QString& message,
                      std::function<void(std::optional<FileUrl>)> done) override {
        messages.append(message);
        done(folder);
    }
    void confirm(const Confirmation& question, std::function<void(bool)> done) override {
        questions.push_back(question);
        done(accepts);
    }

    std::optional<FileUrl> folder;
    bool accepts = true;
    QList<QString> messages;
    std::vector<Confirmation> questions;
};

class RelocationTest : public AppStateFixture {
  protected:
    void TearDown() override { state().setUserPrompts(nullptr); }

    void copyFolder(const QByteArray& from, const QByteArray& to) {
        std::filesystem::copy(folder(from).path().toStdString(), folder(to).path().toStdString(),
                              std::filesystem::copy_options::recursive);
    }
    /// Waits until every check that was asked for has ended.
    void settle() {
        int seen = -1;
        while (seen != *state().finishedRelocationChecks) {
            seen = *state().finishedRelocationChecks;
            ASSERT_TRUE(spinUntil([&] {
                return *state().finishedRelocationChecks > 0 && !state().isFollowingMoves();
            }));
            spinFor(50ms);
        }
    }
    void check() {
        settle();
        const int before = *state().finishedRelocationChecks;
        state().checkRelocations();
        ASSERT_TRUE(spinUntil([&] { return *state().finishedRelocationChecks > before; }));
        settle();
    }
    QList<QByteArray> entries(qsizetype playlist = 0) {
        QList<QByteArray> relative;
        const QByteArray top = folder("").path() + '/';
        for (const FileUrl& url : state().playlistManager().playlists->at(playlist).trackURLs) {
            relative.append(url.path().startsWith(top) ? url.path().mid(top.size()) : url.path());
        }
        return relative;
    }
    void answer(Answers& answers) { state().setUserPrompts(&answers); }
};

TEST_F(RelocationTest, everyStoreFollowsAFileThatMovedWithinItsLocation) {
    makeFolder("m/a", {"1.wav", "2.wav"});
    addLocation("m");
    openAndRead("m/a");
    state().play(shown(1));
    state().play(shown(0));  // "2" is history now.
    state().toggleFavorite(shown(0));
    state().playlistManager().createPlaylist(QStringLiteral("Two"), {shown(1), shown(0)});
    check();

    moveItem("m/a/1.wav", "m/b/one.wav");
    moveItem("m/a/2.wav", "m/two.wav");
    check();
    EXPECT_EQ(entries(0), QList<QByteArray>{"m/b/one.wav"});
    EXPECT_EQ(entries(1), (QList<QByteArray>{"m/two.wav", "m/b/one.wav"}));
    EXPECT_EQ(titles(*state().playingQueue), "one two");
    EXPECT_EQ(titles(*state().playbackHistory), "two");
    EXPECT_EQ((*engine().currentTrack)->url(), folder("m/b/one.wav"));
    EXPECT_EQ(*state().favoriteTrackPaths, QSet<QByteArray>{folder("m/b/one.wav").path()});
    EXPECT_TRUE(state().isFavorite(track("m/a/1.wav"))) << "a record with the old path";
    spinFor(20ms);
    EXPECT_EQ(storedSettings().path("PlayerLastTrackPath"), folder("m/b/one.wav").path());
    EXPECT_TRUE(*engine().isPlaying);
    EXPECT_FALSE(*state().playbackErrorMessage);

    moveItem("m/b/one.wav", "m/c/uno.wav");
    check();
    EXPECT_TRUE(state().isFavorite(track("m/a/1.wav"))) << "a chain of moves";
    state().toggleFavorite(track("m/a/1.wav"));
    EXPECT_EQ(entries(0), QList<QByteArray>());
}

TEST_F(RelocationTest, filesAreFollowedThatMovedWhileNothingRan) {
    makeFolder("m/a/deep", {"1.wav", "2.wav", "3 \xE9%20\n\".wav"});
    makeFolder("other");
    addLocation("m");
    addLocation("other");
    makePlaylist({"m/a/deep/1.wav", "m/a/deep/2.wav", "m/a/deep/3 \xE9%20\n\".wav"});
    state().toggleFolderMarked(item("m/a"));
    check();
    endState();

    moveItem("m/a/deep/2.wav", "other/2.wav");  // Into another Location,
    moveItem("m/a", "m/A");                     // its folder renamed,
    moveItem("m", "far/away/music");            // and their Location moved, all in one go.
    startState();
    check();
    EXPECT_EQ(entries(), (QList<QByteArray>{"far/away/music/A/deep/1.wav", "other/2.wav",
                                            "far/away/music/A/deep/3 \xE9%20\n\".wav"}));
    EXPECT_EQ(names(*state().rootFolders), "music other");
    EXPECT_EQ(*state().markedFolderIDs, QSet<QByteArray>{folder("far/away/music/A").path()});
}

TEST_F(RelocationTest, whatLeftTheLibraryOrWentToTheTrashIsNotFollowed) {
    const std::pair<const char*, const char*> cases[] = {
        {"outside every Location", "outside/1.wav"},
        {"trash of a volume", "m/.Trash-1000/files/1.wav"},
        {"another trash", "m/.Trashes/1.wav"},
    };
    makeFolder("m/a", {"1.wav"});
    addLocation("m");
    makePlaylist({"m/a/1.wav"});
    check();
    for (const auto& [what, place] : cases) {
        moveItem("m/a/1.wav", place);
        check();
        EXPECT_EQ(entries(), QList<QByteArray>{"m/a/1.wav"}) << what;
        moveItem(place, "m/a/1.wav");
    }
}

TEST_F(RelocationTest, aLocationIsFollowedWhereverItGoes) {
    makeFolder("m/a", {"1.wav"});
    makeFolder("m/nested", {"2.wav"});
    makeFolder("n", {"3.wav"});
    for (const char* location : {"m", "m/nested", "n"}) {
        addLocation(location);
    }
    openAndRead("m/a");
    check();
    moveItem("m", "elsewhere/x/music");
    check();
    const std::vector<FileUrl> expected{folder("elsewhere/x/music"),
                                        folder("elsewhere/x/music/nested"), folder("n")};
    EXPECT_EQ(*state().libraryFolders, expected);
    EXPECT_TRUE(state().expandedFolderIDs->contains(folder("elsewhere/x/music").path()));
    ASSERT_TRUE(spinUntil([&] { return titles(*state().playbackQueue) == "1"; }));
    EXPECT_EQ((*state().selectedFolder)->id(), folder("elsewhere/x/music/a").path());

    moveItem("n", "trash/.Trash-0/files/n");
    check();
    EXPECT_EQ(*state().libraryFolders, expected);
    EXPECT_FALSE(state().availableLocationPaths->contains(folder("n").path()));
}

TEST_F(RelocationTest, callsDuringACheckMakeOneMore) {
    makeFolder("m/a", {"1.wav"});
    addLocation("m");
    settle();
    const int before = *state().finishedRelocationChecks;
    for (int i = 0; i < 11; ++i) {
        state().checkRelocations();
    }
    // The first describes a world that may have changed: what it prepared is not kept.
    makePlaylist({"m/a/1.wav"});
    settle();
    EXPECT_EQ(*state().finishedRelocationChecks, before + 2);
    EXPECT_EQ(state().relocationStore().records().size(), 3);  // m, m/a and the file.
}

TEST_F(RelocationTest, aLocationThatComesBackIsListedAgain) {
    makeFolder("m/a", {"1.wav"});
    addLocation("n", {"2.wav"});
    addLocation("m");
    openAndRead("m/a");
    check();
    moveItem("m", ".Trash-1/files/m");  // As a volume that is away: not followed.
    check();
    EXPECT_EQ(*state().availableLocationPaths, QSet<QByteArray>{folder("n").path()});
    makeFile(".Trash-1/files/m/a/3.wav", "");
    int listedN = 0;
    const auto loading = state().loadingFolderIDs.subscribe(
        [&](const auto& ids) { listedN += ids.contains(folder("n").path()) ? 1 : 0; });
    moveItem(".Trash-1/files/m", "m");
    check();
    ASSERT_TRUE(spinUntil([&] { return titles(*state().playbackQueue) == "1 3"; }));
    EXPECT_TRUE(state().isFolderLoaded(item("m")));
    EXPECT_EQ(listedN, 0) << "what was there all the time is not listed again";
}

TEST_F(RelocationTest, oneLocationOnAnothersPathIsHeldOnce) {
    makeFolder("m/a");
    makeFolder("n");
    addLocation("m");
    addLocation("n");
    check();
    moveItem("n", ".Trash-1/files/n");
    moveItem("m", "n");
    check();
    EXPECT_EQ(*state().libraryFolders, std::vector<FileUrl>{folder("n")});
}

TEST_F(RelocationTest, theUserPointsAtAFolderThatWasLost) {
    makeFolder("m/lost", {"1.wav", "2.wav"});
    makeFolder("m/same");
    addLocation("m");
    makePlaylist({"m/lost/1.wav"});
    state().toggleFolderMarked(item("m/lost"));
    check();
    copyFolder("m/lost", "m/found");
    copyFolder("m/lost", "outside");
    makeFolder("m/changed", {"2.wav"});
    makeFile("m/changed/1.wav", "other music");
    std::filesystem::remove_all(folder("m/lost").path().toStdString());
    check();
    EXPECT_EQ(state().missingRelocationFolders(), std::vector<FileUrl>{folder("m/lost")});
    EXPECT_EQ(entries(), QList<QByteArray>{"m/lost/1.wav"});

    struct Case {
        const char* place;
        bool accepts;
        const char* message;
        size_t questions;
        const char* entry;
    };
    const Case cases[] = {
        {nullptr, true, "", 0, "m/lost/1.wav"},
        {"m/lost", true, "", 0, "m/lost/1.wav"},
        {"outside", true, "Add the destination to Locations before relocating a subfolder there.",
         0, "m/lost/1.wav"},
        {"m/changed", true,
         "The selected folder could not be verified. Its contents must match the remembered files "
         "and folders. No links were changed.",
         0, "m/lost/1.wav"},
        {"m/found", false, "", 1, "m/lost/1.wav"},
        {"m/found", true, "", 1, "m/found/1.wav"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.place ? c.place : "none chosen");
        Answers answers;
        answer(answers);
        answers.accepts = c.accepts;
        if (c.place) {
            answers.folder = folder(c.place);
        }
        settle();
        state().relocateFolder(folder("m/lost"));
        ASSERT_TRUE(spinUntil([&] { return !*state().isRelocating; }));
        settle();
        EXPECT_EQ(state().playbackErrorMessage->value_or(QString()), QString::fromUtf8(c.message));
        state().playbackErrorMessage = std::nullopt;
        EXPECT_EQ(answers.questions.size(), c.questions);
        EXPECT_EQ(entries(), QList<QByteArray>{c.entry});
        if (c.questions) {
            EXPECT_EQ(
                answers.questions.front().informativeText,
                QString::fromUtf8(folder("m/lost").path() + "\n→ " + folder("m/found").path() +
                                  "\n\nThe remembered contents match. Favorites, playlists "
                                  "and folder marks will use the selected folder."));
        }
    }
    EXPECT_EQ(*state().markedFolderIDs, QSet<QByteArray>{folder("m/found").path()});
    EXPECT_TRUE(state().missingRelocationFolders().empty());
}

TEST_F(RelocationTest, aCheckAndTheManualRoadExcludeEachOther) {
    makeFolder("m/a", {"1.wav"});
    addLocation("m");
    Answers answers;
    answer(answers);
    settle();
    state().checkRelocations();
    state().relocateFolder(folder("m/a"));
    EXPECT_EQ(takeFailure(),
              QStringLiteral(
                  "Library links are being checked. Please try relocation again in a moment."));
    EXPECT_TRUE(answers.messages.isEmpty());
    EXPECT_FALSE(*state().isRelocating);
}

}  // namespace
}  // namespace halvenor::test
