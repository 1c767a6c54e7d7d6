#include <gmock/gmock.h>
#include <sys/stat.h>

#include "relocation/FileTools.h"
#include "relocation/Fingerprint.h"
#include "relocation/FolderContents.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

using Names = QList<QByteArray>;

TEST(Children, AreAllNamesButHiddenOnesInOrderOfBytes) {
    const TemporaryFolder folder;
    for (const char* name : {"b.mp3", "B.mp3", "a\nb", "\xff", "é", "100%", ".hidden", "a.txt"}) {
        folder.makeFile(name);
    }
    folder.makeFolder("folder/.below");
    folder.makeFolder(".folder");
    folder.makeLink("link", "nothing");
    ASSERT_EQ(::mkfifo(folder.path("pipe").constData(), 0600), 0);
    EXPECT_EQ(childrenAt(folder.url()), (Names{"100%", "B.mp3", "a\nb", "a.txt", "b.mp3", "folder",
                                               "link", "pipe", "é", "\xff"}));
    EXPECT_EQ(childrenAt(folder.at("folder")), Names());
}

TEST(Children, AreAbsentForWhatCannotBeListed) {
    const TemporaryFolder folder;
    const test::Unprivileged rights(folder);
    folder.makeFile("file");
    folder.makeFolder("closed");
    ASSERT_EQ(::mkfifo(folder.path("pipe").constData(), 0600), 0);
    for (const char* name : {"missing", "file", "pipe"}) {
        EXPECT_EQ(childrenAt(folder.at(name)), std::nullopt) << name;
    }
    ASSERT_EQ(::chmod(folder.path("closed").constData(), 0), 0);
    EXPECT_EQ(childrenAt(folder.at("closed")), std::nullopt);
}

TEST(Witnesses, AreTheFirstThreeAudioFilesInDepth) {
    const TemporaryFolder folder;
    folder.makeFile("d.mp3", "d");
    folder.makeFile("c/2.OGG", "c2");
    folder.makeFile("c/1/\xff.Flac", "c1");
    folder.makeFile("c/text.txt", "t");
    folder.makeFile("a.mp3x", "a");
    folder.makeFile("mp3", "no extension");
    folder.makeFile("e.wav", "e");
    folder.makeFile(".b.mp3", "hidden");
    folder.makeFile(".b/b.mp3", "hidden");
    folder.makeLink("b.mp3", "d.mp3");
    folder.makeLink("bb", "c");
    ASSERT_EQ(::mkfifo(folder.path("b.flac").constData(), 0600), 0);
    const auto witnesses = witnessesIn(folder.url());
    EXPECT_THAT(witnesses.keys(), ElementsAre("c/1/\xff.Flac", "c/2.OGG", "d.mp3"));
    EXPECT_EQ(witnesses.value("c/2.OGG"), *fingerprint(folder.at("c/2.OGG")));
    const FileUrl link = folder.makeLink(".link", folder.url().path());
    EXPECT_EQ(witnessesIn(link), witnesses) << "the folder itself may be reached by a link";
}

TEST(Witnesses, AreLookedForAmong256Entries) {
    // Of any kind: files, folders, links. The 256th may be a witness, the 257th is not looked at.
    const TemporaryFolder folder;
    for (int number = 0; number < 85; ++number) {
        const QByteArray name = QByteArray::number(1000 + number);
        folder.makeFile(name + "/text");
        folder.makeLink(name + "-link", "nothing");
    }
    folder.makeFile("256.mp3");
    EXPECT_THAT(witnessesIn(folder.url()).keys(), ElementsAre("256.mp3"));
    folder.makeFile("1");
    EXPECT_THAT(witnessesIn(folder.url()), IsEmpty());
    test::remove(folder.at("1"));
    folder.makeFile("257.mp3");
    EXPECT_THAT(witnessesIn(folder.url()).keys(), ElementsAre("256.mp3"));
}

TEST(Witnesses, PassOverWhatCannotBeRead) {
    const TemporaryFolder folder;
    const test::Unprivileged rights(folder);
    folder.makeFile("a/1.mp3", "1");
    folder.makeFile("b/2.mp3", "2");
    folder.makeFile("b/3.mp3", "3");
    ASSERT_EQ(::chmod(folder.path("a").constData(), 0), 0);
    ASSERT_EQ(::chmod(folder.path("b/2.mp3").constData(), 0), 0);
    EXPECT_THAT(witnessesIn(folder.url()).keys(), ElementsAre("b/3.mp3"));
    EXPECT_THAT(witnessesIn(folder.at("missing")), IsEmpty());
    ASSERT_EQ(::chmod(folder.path("a").constData(), 0700), 0);
}

}  // namespace
}  // namespace halvenor
