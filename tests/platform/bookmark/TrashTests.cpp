#include <QByteArray>

#include <gtest/gtest.h>

#include "platform/bookmark/Bookmark.h"

namespace halvenor::test {

namespace {

struct TrashCase {
    const char* path;
    bool isInTrash;
};

TEST(TrashTest, IsToldByThePath) {
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", "/home/u/./data/");
    const TrashCase cases[] = {
        {"/m/.Trash/1000/files/x.mp3", true},
        {"/m/.Trashes", true},
        {"/m/.Trash-1000/files", true},
        {"/m/.Trashy/.Trash-1", true},
        {"/m/.Trash-/x", false},
        {"/m/.Trash-10a/x", false},
        {"/m/.Trashes2/x", false},
        {"/m/Trash/x", false},
        {"/m/x.Trash", false},
        {"/m/.trash/x", false},
        {"/m/.Trash/../x", false},
        {"/home/u/data/Trash", true},
        {"/home/u/data/Trash/files/x", true},
        {"/home/u/data/x/../Trash/files/x", true},
        {"/home/u/data/Trash2/x", false},
        {"/home/u/data/x", false},
        {"/", false},
    };
    for (const TrashCase& test : cases) {
        EXPECT_EQ(isInTrash(FileUrl(test.path)), test.isInTrash) << test.path;
    }
    before.isEmpty() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

}  // namespace

}  // namespace halvenor::test
