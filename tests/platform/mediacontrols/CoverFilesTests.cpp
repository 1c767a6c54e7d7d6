// Two objects stand for two processes: locks of one process's own descriptors exclude each other
// as those of two do.
#include <QFile>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "MprisFixture.h"
#include "platform/mediacontrols/linux/CoverFiles.h"

namespace halvenor {
namespace {

using test::contentsOf;
using test::imageOf;

class CoverFilesTest : public testing::Test {
  protected:
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry :
             std::filesystem::directory_iterator(folder_.path("covers").toStdString())) {
            names.push_back(entry.path().filename().string());
        }
        std::ranges::sort(names);
        return names;
    }
    FileUrl covers() const { return folder_.at("covers"); }

    test::TemporaryFolder folder_;
    QByteArray image_ = imageOf(Qt::green);
};

TEST_F(CoverFilesTest, processesDoNotTouchEachOthersFiles) {
    CoverFiles one(covers());
    CoverFiles two(covers());
    const auto ofOne = one.put(image_);
    const auto ofTwo = two.put(image_);
    ASSERT_TRUE(ofOne && ofTwo);
    EXPECT_NE(*ofOne, *ofTwo);
    one.removeLeftovers();
    two.removeLeftovers();
    CoverFiles(covers()).removeLeftovers();
    one.clear();
    EXPECT_EQ(contentsOf(*ofTwo), image_);
    EXPECT_EQ(contentsOf(*ofOne), QByteArray());
}

TEST_F(CoverFilesTest, whatADeadProcessLeftIsRemovedAndNothingElse) {
    CoverFiles living(covers());
    const auto ofLiving = living.put(image_);
    ASSERT_TRUE(ofLiving);
    const std::vector<std::string> before = files();
    folder_.makeFile("covers/dead.lock");
    folder_.makeFile("covers/dead-cover-1.png", image_);
    folder_.makeFile("covers/dead-cover-2.png", image_);
    folder_.makeFile("covers/long-dead-cover-7.jpg", image_);
    folder_.makeFile("precious", "kept");
    for (const char* other : {"covers/notes.txt", "covers/-cover-", "covers/.lock"}) {
        folder_.makeFile(other, "kept");
    }
    folder_.makeFolder("covers/folder-cover-1");
    folder_.makeLink("covers/link.lock", folder_.path("precious"));
    CoverFiles(covers()).removeLeftovers();

    std::vector<std::string> expected = before;
    expected.insert(expected.end(),
                    {"notes.txt", "-cover-", ".lock", "folder-cover-1", "link.lock"});
    std::ranges::sort(expected);
    EXPECT_EQ(files(), expected);
    EXPECT_EQ(contentsOf(folder_.at("precious")), "kept");
    EXPECT_EQ(contentsOf(*ofLiving), image_);
}

}  // namespace
}  // namespace halvenor
