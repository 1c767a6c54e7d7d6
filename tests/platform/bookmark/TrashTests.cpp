#include <QByteArray>

#include <gtest/gtest.h>

#include "platform/bookmark/Bookmark.h"

namespace halvenor::test {

namespace {

TEST(TrashTest, IsToldByThePath) {
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", "/home/u/./data/");
    for (const char* const path :
         {"/m/.Trash/1000/files/x.mp3", "/m/.Trashes", "/m/.Trash-1000/files",
          "/m/.Trashy/.Trash-1", "/home/u/data/Trash", "/home/u/data/Trash/files/x",
          "/home/u/data/x/../Trash/files/x"}) {
        EXPECT_TRUE(isInTrash(FileUrl(path))) << path;
    }
    for (const char* const path :
         {"/m/.Trash-/x", "/m/.Trash-10a/x", "/m/.Trashes2/x", "/m/Trash/x", "/m/x.Trash",
          "/m/.trash/x", "/m/.Trash/../x", "/home/u/data/Trash2/x", "/home/u/data/x", "/"}) {
        EXPECT_FALSE(isInTrash(FileUrl(path))) << path;
    }
    before.isEmpty() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

}  // namespace

}  // namespace halvenor::test
