#include <gmock/gmock.h>
#include <sys/stat.h>
#include <vector>

#include "model/scanner/FolderSearch.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

class FolderSearchTest : public testing::Test {
  protected:
    std::vector<std::string> search(const std::vector<const char*>& rootNames, const char* query) {
        std::vector<FileUrl> roots;
        for (const char* name : rootNames) {
            roots.push_back(folder_.at(name));
        }
        std::vector<std::string> found;
        for (const FolderItem& item : searchFolders(roots, QString::fromUtf8(query))) {
            EXPECT_EQ(item, FolderItem(item.url(), true));
            found.push_back(item.id().mid(folder_.url().path().size() + 1).toStdString());
        }
        return found;
    }

    TemporaryFolder folder_;
};

TEST_F(FolderSearchTest, FindsFoldersByPartOfTheirNames) {
    for (const char* name :
         {"Rock/Live 10/live", "Rock/live 2", "Rock/LIVE 2/x", "Rock/.hidden/Live", "Jazz/Café",
          "Jazz/Cafe\xcc\x81 noir", "Jazz/\xff live", "Live Root/inner"}) {
        folder_.makeFolder(name);
    }
    folder_.makeFile("Rock/live.mp3");
    folder_.makeLink("Rock/live link", "Live 10");
    folder_.makeLink("Rock/loop", "..");
    EXPECT_THAT(search({"Rock"}, "live"),
                ElementsAre("Rock/Live 10/live", "Rock/LIVE 2", "Rock/live 2", "Rock/Live 10"));
    EXPECT_THAT(search({"Rock"}, " \n 10\t"), ElementsAre("Rock/Live 10"));
    EXPECT_THAT(search({"Jazz"}, "CAFÉ"), ElementsAre("Jazz/Café", "Jazz/Cafe\xcc\x81 noir"));
    EXPECT_THAT(search({"Jazz"}, "live"), ElementsAre("Jazz/\xff live"));
    EXPECT_THAT(search({"Live Root", "Live Root/./", "missing"}, "live"), ElementsAre("Live Root"));
    EXPECT_THAT(search({"Rock"}, ""), IsEmpty());
    EXPECT_THAT(search({"Rock"}, " \t\n"), IsEmpty());
    EXPECT_THAT(search({"Rock"}, "nothing like it"), IsEmpty());
    EXPECT_THAT(search({"Rock", "Rock/Live 10"}, "Live 10"), ElementsAre("Rock/Live 10"))
        << "a folder under two roots is found once";
}

TEST_F(FolderSearchTest, PassesOverWhatCannotBeRead) {
    const test::Unprivileged rights(folder_);
    folder_.makeFolder("root/closed match/inner match");
    folder_.makeFolder("root/open match/inner match");
    ASSERT_EQ(::chmod(folder_.path("root/closed match").constData(), 0), 0);
    EXPECT_THAT(search({"root"}, "match"),
                ElementsAre("root/closed match", "root/open match/inner match", "root/open match"));
    ASSERT_EQ(::chmod(folder_.path("root/closed match").constData(), 0700), 0);
}

TEST_F(FolderSearchTest, AStoppedSearchIsEmpty) {
    folder_.makeFolder("root/match");
    std::stop_source source;
    source.request_stop();
    EXPECT_TRUE(
        searchFolders({folder_.at("root")}, QStringLiteral("match"), source.get_token()).empty());
}

}  // namespace
}  // namespace halvenor
