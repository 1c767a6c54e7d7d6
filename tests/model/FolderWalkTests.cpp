#include <gmock/gmock.h>
#include <unistd.h>
#include <vector>

#include "model/scanner/FolderWalk.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;

class FolderWalkTest : public testing::Test {
  protected:
    std::vector<FileUrl> roots(const std::vector<const char*>& names) const {
        std::vector<FileUrl> urls;
        for (const char* name : names) {
            urls.push_back(folder_.at(name));
        }
        return urls;
    }
    // The folder found, relative to the temporary one; "none" when there is none.
    std::string next(const char* after, const std::vector<const char*>& rootNames) const {
        const auto found = nextPlayableFolder(folder_.at(after), roots(rootNames));
        if (!found) {
            return "none";
        }
        EXPECT_FALSE(found->contents.tracks.isEmpty());
        EXPECT_EQ(found->folder, FolderItem(found->folder.url(), true));
        return found->folder.id().mid(folder_.url().path().size() + 1).toStdString();
    }

    TemporaryFolder folder_;
};

TEST_F(FolderWalkTest, GoesDownThenBesideThenUpThenToLaterRoots) {
    for (const char* file :
         {"A/1/a.mp3", "A/2/deep/er/a.mp3", "A/2/deep/er/below/a.mp3", "A/10/a.mp3",
          "A/10/inner/a.mp3", "A/.hidden/a.mp3", "A/.hidden/sub/a.mp3", "A/own.mp3", "B/x/a.mp3",
          "B/notes.txt", "C/c.mp3", "AB/a.mp3"}) {
        folder_.makeFile(file);
    }
    folder_.makeFolder("A/5/empty/emptier");
    folder_.makeFile("A/5/cover.jpg");
    const std::vector<const char*> all = {"A", "B", "C"};
    struct Case {
        const char* after;
        const char* next;
    };
    const std::vector<Case> cases = {
        {"A", "A/1"},
        {"A/1", "A/2/deep/er"},
        {"A/2", "A/2/deep/er"},
        {"A/2/deep/er", "A/2/deep/er/below"},
        {"A/2/deep/er/below", "A/10"},  // not the ancestor, not what holds nothing, 10 after 5
        {"A/5/empty", "A/10"},
        {"A/10", "A/10/inner"},
        {"A/10/inner", "B/x"},
        {"A/./5/../10/inner/", "B/x"},
        {"A/.hidden", "A/.hidden/sub"},
        {"A/.hidden/sub", "B/x"},  // a folder that is not shown has no siblings
        {"A/vanished", "B/x"},
        {"A/2/vanished/too", "A/10"},
        {"B", "B/x"},
        {"B/x", "C"},
        {"C", "none"},
        {"AB", "none"},
        {"elsewhere", "none"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(next(c.after, all), c.next) << "after " << c.after;
    }
    EXPECT_EQ(next("B/x", {"C", "B", "A"}), "A") << "roots in the order given; one may play";
}

TEST_F(FolderWalkTest, EntersNoFolderTwice) {
    folder_.makeFile("real/album/a.mp3");
    folder_.makeLink("again", "real");
    folder_.makeLink("real/loop", "..");
    EXPECT_EQ(next("real/album", {"real", "again"}), "none") << "met again by another path";
    EXPECT_EQ(next("real", {"real", "again"}), "real/album");
    EXPECT_EQ(next("real", {"real", "real"}), "real/album");
    EXPECT_EQ(next("real/album", {"real", "real/album", "again/album"}), "none");
}

TEST_F(FolderWalkTest, AStoppedWalkFindsNothing) {
    folder_.makeFile("A/1/a.mp3");
    std::stop_source source;
    source.request_stop();
    EXPECT_EQ(nextPlayableFolder(folder_.at("A"), roots({"A"}), source.get_token()).has_value(),
              false);
    EXPECT_EQ(next("A", {}), "none");
}

}  // namespace
}  // namespace halvenor
