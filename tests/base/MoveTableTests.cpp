#include <gmock/gmock.h>
#include <vector>

#include "base/MoveTable.h"

namespace halvenor {
namespace {

TEST(MoveTable, InsideIsExact) {
    struct Case {
        const char* path;
        const char* root;
        bool isInside;
    };
    const std::vector<Case> cases = {
        {"/a", "/a", true},           {"/a/b", "/a", true},  {"/ab", "/a", false},
        {"/a/b", "/a/", true},        {"/a", "/a/", false},  {"/A/b", "/a", false},
        {"/a/b", "/", true},          {"/a", "/a/b", false}, {"/a\xe9/b", "/a\xe9", true},
        {"/a\xe9x", "/a\xe9", false}, {"/a//b", "/a", true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(inside(c.path, c.root), c.isInside) << c.path << " in " << c.root;
    }
}

TEST(MoveTable, TheNestedMoveOverridesItsParent) {
    const MoveTable moves = {{"/a", "/x"}, {"/a/b", "/y"}, {"/x", "/z"}, {"/\xff", "/f"}};
    struct Case {
        const char* path;
        const char* moved;
    };
    const std::vector<Case> cases = {
        {"/a", "/x"},   {"/a/d", "/x/d"}, {"/a/b/c", "/y/c"},  {"/a/bc", "/x/bc"},
        {"/ab", "/ab"}, {"/x/1", "/z/1"}, {"/\xff/1", "/f/1"}, {"/other", "/other"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(remapped(c.path, moves), c.moved) << c.path;
    }
    EXPECT_EQ(remapped("/a", {}), "/a");
    EXPECT_EQ(replacing("/a/b", "/c", "/x"), "/a/b");
}

}  // namespace
}  // namespace halvenor
