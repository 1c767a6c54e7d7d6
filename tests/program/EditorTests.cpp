// Tags are edited as a user does it: by the keyboard, in the real window. Another program reads
// what is in the file then.
#include <QImage>

#include <csignal>
#include <sys/stat.h>

#include "discogs/Pictures.h"
#include "program/ProgramFixture.h"
#include "support/EventLoop.h"
#include "support/HttpServer.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

QByteArray metaflac(const FileUrl& file, const QString& question) {
    return runProgram({QStringLiteral("metaflac"), question, QString::fromUtf8(file.path())});
}
QByteArray storedTag(const FileUrl& file, const char* name) {
    return metaflac(file, QStringLiteral("--show-tag=") + QLatin1String(name)).trimmed();
}

class EditorProgramTest : public MediaKeyTest {
  protected:
    EditorProgramTest() { mediaKind("flac 16").write(song(), music_.part(0, rate)); }

    FileUrl song() const { return home_.at("lib/album/3.flac"); }
};

TEST_F(EditorProgramTest, aTitleIsTypedAndSaved) {
    start();
    ASSERT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("1.wav")));
    ASSERT_TRUE(display_.click("Halvenor", 700, 222));  // into the track list
    pressAll({"End", "Menu", "Up", "Return",            // the menu's last entry
              "n", "e", "w", "space", "m", "Return"});
    EXPECT_TRUE(comesTrue([&] { return storedTag(song(), "TITLE") == "TITLE=new m"; }))
        << storedTag(song(), "TITLE").toStdString();
    EXPECT_EQ(playerctl({"status"}), "Paused") << "what is typed into a field is no command";

    press("Return");  // The list has the focus again: it plays the row, as the list knows it.
    EXPECT_TRUE(becomes({"metadata", "xesam:url"}, urlOf("3.flac")));
    EXPECT_TRUE(becomes({"metadata", "xesam:title"}, "new m"));
    end();
}

// An album of three, used by somebody who is not root: for root no file is read-only.
class AlbumEditorTest : public DesktopTest {
  protected:
    AlbumEditorTest() {
        home_.makeFolder("lib/three");
        for (const char* name : {"1.flac", "2.flac", "3.flac"}) {
            mediaKind("flac 16").write(albumFile(name), music_.part(0, rate));
        }
        // The track that is remembered decides which folder is open at the start.
        Settings stored = settings();
        stored.setPath("PlayerLastTrackPath", albumFile("1.flac").path());
        stored.setNumber("PlayerLastPosition", 0);
        variables_["HALVENOR_DISCOGS_SEARCH"] = server_.address("/search").toStdString();
        server_.answer("/search", HttpAnswer::ok("{\"results\": [{\"title\": \"The Band - Three\", "
                                                 "\"cover_image\": \"" +
                                                 server_.address("/found.jpg") + "\"}]}"));
        server_.answer("/found.jpg", HttpAnswer::ok(found_, "image/jpeg"));
        home_.makeFile("browsed.webp", picture("webp"));
    }

    FileUrl albumFile(const char* name) const {
        return home_.at("lib/three").appendingPathComponent(name);
    }

    // @return whether that user can start it
    bool startUnprivileged() {
        runProgram({QStringLiteral("chown"), QStringLiteral("-R"), user_,
                    QString::fromUtf8(home_.url().path())});
        const std::string id = user_.toStdString();
        const auto as = [&](std::vector<std::string> command) {
            command.insert(command.begin(),
                           {"setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups"});
            return command;
        };
        // What the program loads later lies beside it, perhaps in a home that is closed to others.
        if (ChildProcess({.command = as({"test", "-r", HALVENOR_PROGRAM})}).wait() != 0) {
            return false;
        }
        program_ = ChildProcess({.command = as({HALVENOR_PROGRAM}), .environment = environment()});
        return true;
    }
    // From the cover's menu, whose last entry it is.
    void openAlbumEditor() {
        ASSERT_TRUE(display_.click("Halvenor", 426, 100, 1, 3));
        spinFor(300ms);
        ASSERT_TRUE(display_.typeKey("Up"));
        ASSERT_TRUE(display_.typeKey("Return"));
        spinFor(300ms);
    }
    QByteArray tag(const char* file, const char* name) const {
        return storedTag(albumFile(file), name);
    }
    QByteArray cover(const char* file) const {
        return metaflac(albumFile(file), QStringLiteral("--export-picture-to=-"));
    }

    const QString user_ = QStringLiteral("65534");
    const QByteArray found_ = picture("jpeg");
    HttpServer server_;
};

TEST_F(AlbumEditorTest, anAlbumGetsItsTextsAndCoversAndTellsWhatItCouldNotWrite) {
    if (!startUnprivileged()) {
        GTEST_SKIP() << "no other user can start the program here";
    }
    ASSERT_TRUE(appears("Halvenor"));
    spinFor(1500ms);
    press("Escape");  // That user has no sound server, and was told.
    openAlbumEditor();
    ASSERT_TRUE(display_.type("Three"));
    press("Tab");
    ASSERT_TRUE(display_.type("The Band"));
    press("Tab");
    ASSERT_TRUE(display_.type("The Band"));
    pressAll({"Tab", "Tab", "Return"});  // past the year: the search
    ASSERT_TRUE(spinUntil([&] { return server_.targets().contains("/found.jpg"); }));
    EXPECT_EQ(server_.targets().first(), "/search?q=The%20Band%20Three&type=release&per_page=25");
    spinFor(500ms);
    pressAll({"shift+Tab", "Return"});  // from the field of the year
    ASSERT_TRUE(spinUntil([&] { return tag("3.flac", "ALBUM") == "ALBUM=Three"; }));
    for (const char* file : {"1.flac", "2.flac", "3.flac"}) {
        EXPECT_EQ(tag(file, "ARTIST"), "ARTIST=The Band") << file;
        EXPECT_EQ(cover(file), found_) << file << ": a JPEG is kept byte for byte";
    }

    ASSERT_EQ(::chmod(albumFile("2.flac").path().constData(), 0400), 0);
    spinFor(300ms);
    openAlbumEditor();
    pressAll({"Tab", "Tab", "Tab"});
    ASSERT_TRUE(display_.type("1987"));
    pressAll({"Tab", "Tab", "Return"});  // past the search: browse
    ASSERT_TRUE(appears("Choose a Cover"));
    ASSERT_TRUE(display_.focus("Choose a Cover"));
    ASSERT_TRUE(display_.type(home_.path("browsed.webp").toStdString()));
    ASSERT_TRUE(display_.press("Choose a Cover", "Return"));
    ASSERT_TRUE(vanishes("Choose a Cover"));
    spinFor(700ms);
    pressAll({"shift+Tab", "shift+Tab", "Return"});
    ASSERT_TRUE(spinUntil([&] { return tag("3.flac", "DATE") == "DATE=1987"; }));
    EXPECT_EQ(tag("1.flac", "DATE"), "DATE=1987");
    EXPECT_EQ(tag("2.flac", "DATE"), "");
    EXPECT_EQ(cover("2.flac"), found_);
    EXPECT_TRUE(cover("1.flac").startsWith("\x89PNG")) << "a WebP becomes a PNG";
    EXPECT_EQ(QImage::fromData(cover("1.flac")).size(), QSize(5, 4));
    press("Escape");  // It has stayed open, to tell of the one.
    end();
}

}  // namespace
}  // namespace halvenor::test
