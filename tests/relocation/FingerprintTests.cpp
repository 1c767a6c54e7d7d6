#include <QCryptographicHash>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "relocation/FileTools.h"
#include "relocation/Fingerprint.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;

// Sizes around the places where blocks appear, meet and overlap, and where each block begins.
TEST(Fingerprint, HashesTheBlocksAtTheseOffsets) {
    struct Case {
        qsizetype size;
        std::vector<qsizetype> offsets;
    };
    const std::vector<Case> cases = {
        {0, {0}},
        {1, {0}},
        {65'535, {0}},
        {65'536, {0}},
        {65'537, {0, 1}},
        {65'538, {0, 1, 2}},
        {100'000, {0, 17'232, 34'464}},
        {131'071, {0, 32'767, 65'535}},
        {131'072, {0, 32'768, 65'536}},
        {196'608, {0, 65'536, 131'072}},
        {1'000'001, {0, 467'232, 934'465}},
    };
    const TemporaryFolder folder;
    for (const Case& c : cases) {
        const QByteArray contents = test::noise(c.size);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        for (const qsizetype offset : c.offsets) {
            hash.addData(contents.mid(offset, 65'536));
        }
        const QByteArray expected = QByteArray::number(c.size) + ':' + hash.result().toHex();
        EXPECT_EQ(fingerprint(folder.makeFile("\xe9\n\"%20\xff", contents)), expected) << c.size;
    }
    folder.makeFile("abc", "abc");
    EXPECT_EQ(fingerprint(folder.makeLink("link", "abc")),
              "3:ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Fingerprint, ReadsLittleOfAHugeFile) {
    constexpr int64_t size = 5'000'000'001;
    const TemporaryFolder folder;
    const FileUrl file = folder.makeFile("file");
    ASSERT_EQ(::truncate(file.path().constData(), size), 0);
    test::overwrite(file, size / 2 - 32'768, "middle");
    test::overwrite(file, size - 6, "at end");
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArray(65'536, '\0'));
    hash.addData("middle" + QByteArray(65'530, '\0'));
    hash.addData(QByteArray(65'530, '\0') + "at end");
    const int64_t before = test::bytesRead();
    EXPECT_EQ(fingerprint(file), "5000000001:" + hash.result().toHex());
    EXPECT_LT(test::bytesRead() - before, 3 * 65'536 + 1024);
}

TEST(Fingerprint, IsAbsentForWhatCannotBeRead) {
    const TemporaryFolder folder;
    const test::Unprivileged rights(folder);
    folder.makeFolder("folder");
    folder.makeLink("loop", "loop");
    folder.makeLink("dangling", "nothing");
    folder.makeFile("file", "abc");
    ASSERT_EQ(::mkfifo(folder.path("pipe").constData(), 0600), 0);
    for (const char* name : {"missing", "folder", "loop", "dangling", "pipe", "file/below"}) {
        EXPECT_EQ(fingerprint(folder.at(name)), std::nullopt) << name;
    }
    EXPECT_EQ(fingerprint(FileUrl(QByteArray("/dev/zero"))), std::nullopt);
    EXPECT_EQ(fingerprint(FileUrl()), std::nullopt);
    ASSERT_EQ(::chmod(folder.path("file").constData(), 0), 0);
    EXPECT_EQ(fingerprint(folder.at("file")), std::nullopt);
}

}  // namespace
}  // namespace halvenor
