#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "Bookmarks.h"
#include "base/FileDescriptor.h"
#include "platform/bookmark/BookmarkData.h"
#include "platform/bookmark/linux/MountTable.h"

namespace halvenor::test {

namespace {

// From here on this process sees mounts of its own, if it may. They go with it.
bool hasOwnMounts() {
    static const bool isDone = ::unshare(CLONE_NEWNS) == 0 &&
                               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return isDone;
}

/// A file system mounted for a test.
class Mounted {
  public:
    Mounted(const char* type, const FileUrl& place, const QByteArray& options = {})
        : place_(place),
          isMounted_(::mount("test", place.path().constData(), type, 0, options.constData()) == 0) {
    }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;
    ~Mounted() {
        if (isMounted_) {
            ::umount2(place_.path().constData(), MNT_DETACH);
        }
    }

    bool isMounted() const { return isMounted_; }
    void moveTo(const FileUrl& place) {
        ASSERT_EQ(
            ::mount(place_.path().constData(), place.path().constData(), nullptr, MS_MOVE, nullptr),
            0);
        place_ = place;
    }
    /// As a user does it: fails where something of it is in use.
    void unmount() {
        ASSERT_EQ(::umount(place_.path().constData()), 0) << std::strerror(errno);
        isMounted_ = false;
    }

  private:
    FileUrl place_;
    bool isMounted_;
};

class MountTest : public testing::Test, public MarkedFolder {
  protected:
    void SetUp() override {
        if (!hasOwnMounts()) {
            GTEST_SKIP() << "this user may not mount anything";
        }
    }
};

struct FileSystemTest : testing::Test, MarkedFolder {};

// Where in `folder` a file is made that has the number that `gone` had, and a birth time of its
// own; empty if the file system does not give numbers out again.
FileUrl recycled(const TemporaryFolder& folder, const QByteArray& name, const FileStatus& gone) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        const FileUrl file = folder.makeFile(name);
        const auto status = fileStatus(file);
        if (status->inode != gone.inode) {
            return {};
        }
        if (status->born != gone.born) {
            return file;
        }
        std::remove(file.path().constData());  // Made within one tick of the clock.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return {};
}

TEST_F(FileSystemTest, ANumberGivenOutAgainIsNotBelieved) {
    folder.makeFolder("L");
    setLocations({"L"});
    for (const char* const name : {"L/new.mp3", "L/x.mp3"}) {
        const FileUrl file = folder.makeFile("L/x.mp3");
        const auto status = fileStatus(file);
        const QByteArray bookmark = marked("L/x.mp3");
        remove("L/x.mp3");
        const FileUrl other = recycled(folder, name, *status);
        if (other.isEmpty()) {
            GTEST_SKIP() << "the file system gives out no number again";
        }
        EXPECT_EQ(answer(bookmark), other == file ? "L/x.mp3 (stale)" : "lost");
        remove(name);
    }
}

// What a bookmark knows of a file that is found elsewhere, as other file systems would have had it.
struct ProofCase {
    const char* name;
    void (*change)(BookmarkFront& front, BookmarkBack& back);
    bool isBelieved;
    bool isBelievedOfFolder;
};

void forgetBirth(BookmarkFront& front, BookmarkBack&) {
    front.item.born.reset();
}

void forgetHandle(BookmarkFront& front, BookmarkBack&) {
    front.item.handle.clear();
}

const ProofCase proofCases[] = {
    {"all", [](BookmarkFront&, BookmarkBack&) {}, true, true},
    {"birth", forgetHandle, true, true},
    {"handle", forgetBirth, true, true},
    {"nothing",
     [](BookmarkFront& front, BookmarkBack& back) {
         forgetBirth(front, back);
         forgetHandle(front, back);
     },
     true, false},
    {"nothing, another time",
     [](BookmarkFront& front, BookmarkBack& back) {
         forgetBirth(front, back);
         forgetHandle(front, back);
         back.modified -= 1;
     },
     false, false},
    {"another birth", [](BookmarkFront& front, BookmarkBack&) { *front.item.born += 1; }, false,
     false},
    // As of an item made within the same tick of the clock.
    {"another handle",
     [](BookmarkFront& front, BookmarkBack&) {
         front.item.handle.back() = static_cast<char>(front.item.handle.back() + 1);
     },
     false, false},
    {"another number", [](BookmarkFront& front, BookmarkBack&) { front.item.inode += 1; }, false,
     false},
};

TEST(BookmarkProofTest, AHitIsBelievedForBirthOrHandle) {
    for (const ProofCase& test : proofCases) {
        for (const char* const name : {"L/file", "L/folder"}) {
            const bool isFolder = std::string_view(name) == "L/folder";
            MarkedFolder marks;
            isFolder ? marks.folder.makeFolder(name) : marks.folder.makeFile(name, "abc");
            const QByteArray whole = marks.marked(name);
            auto front = decodedFront(whole);
            auto back = decodedBack(whole);
            if (!front->item.born || front->item.handle.isEmpty()) {
                GTEST_SKIP() << "the file system lacks births or handles";
            }
            test.change(*front, *back);
            marks.setLocations({"L"});
            marks.move(name, "L/moved");
            EXPECT_EQ(
                marks.answer(encodedBookmark(*front, *back)),
                (isFolder ? test.isBelievedOfFolder : test.isBelieved) ? "L/moved (stale)" : "lost")
                << test.name << " of " << name;
        }
    }
}

class EachFileSystemTest : public MountTest, public testing::WithParamInterface<std::string> {};

TEST_P(EachFileSystemTest, ItemsAreFollowed) {
    folder.makeFolder("m");
    const Mounted below("tmpfs", at("m"));
    QByteArray options;
    for (const char* const name : {"m/lower", "m/upper", "m/work", "m/top"}) {
        folder.makeFolder(name);
    }
    if (GetParam() == "overlay") {
        options = "lowerdir=" + folder.path("m/lower") + ",upperdir=" + folder.path("m/upper") +
                  ",workdir=" + folder.path("m/work");
    }
    const Mounted top(GetParam().c_str(), at("m/top"), options);
    if (!below.isMounted() || !top.isMounted()) {
        GTEST_SKIP() << "this system can't mount " << GetParam();
    }
    for (const char* const name : {"m/top/L/B/x.mp3", "m/top/L/C/x.mp3", "m/top/M/x.mp3"}) {
        folder.makeFile(name);
    }
    const auto items = requests({"m/top/L/B/x.mp3", "m/top/L/C/x.mp3", "m/top/L"}, anywhere);
    move("m/top/L/B/x.mp3", "m/top/L/y.mp3");
    move("m/top/L/C", "m/top/L/D");
    move("m/top/L", "m/top/M/K");
    setLocations({"m/top/L"});
    EXPECT_EQ(answers(items), Answers({"m/top/M/K/y.mp3 (stale)", "m/top/M/K/D/x.mp3 (stale)",
                                       "m/top/M/K (stale)"}));
    EXPECT_EQ(resolver->statistics().walks, 1);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, EachFileSystemTest, testing::Values("tmpfs", "overlay"),
                         [](const auto& test) { return test.param; });

TEST_F(MountTest, AFileSystemThatIsAwayCostsNoWalk) {
    folder.makeFile("L/x.mp3");
    folder.makeFolder("L/disk");
    std::optional<Mounted> disk(std::in_place, "tmpfs", at("L/disk"));
    folder.makeFile("L/disk/A/x.mp3");
    const auto items = requests({"L/disk/A/x.mp3", "L/disk/A", "L/disk"}, anywhere);
    setLocations({"L", "L/disk"});
    disk->unmount();  // The Locations that are held do not hinder it.
    EXPECT_EQ(answers(items), Answers({"lost", "lost", "lost"}));
    EXPECT_EQ(resolver->statistics().walks, 0);

    // Another disk, with things of the same names.
    disk.emplace("tmpfs", at("L/disk"));
    folder.makeFile("L/disk/A/x.mp3");
    const Answers another = answers(items);
    EXPECT_EQ(another[0], "L/disk/A/x.mp3 (stale)");
    EXPECT_EQ(another[2], "L/disk (stale)");
    EXPECT_EQ(resolver->statistics().walks, 0);
}

TEST_F(MountTest, AFileSystemThatIsMountedElsewhereIsFollowed) {
    folder.makeFolder("one");
    folder.makeFolder("two");
    Mounted disk("tmpfs", at("one"));
    folder.makeFile("one/L/A/x.mp3");
    folder.makeFile("one/L/A/y.mp3");
    const auto items = requests({"one/L/A/x.mp3", "one/L/A/y.mp3", "one"}, anywhere);
    move("one/L/A/y.mp3", "one/z.mp3");
    disk.moveTo(at("two"));
    EXPECT_EQ(answers(items),
              Answers({"two/L/A/x.mp3 (stale)", "two/z.mp3 (stale)", "two (stale)"}));
}

TEST_F(MountTest, WalksEnterNoMountPoint) {
    for (int i = 0; i < 10; ++i) {
        folder.makeFile("L/A/" + QByteArray::number(i));
    }
    folder.makeFolder("L/disk");
    folder.makeFolder("L/again");
    const Mounted disk("tmpfs", at("L/disk"));
    ASSERT_EQ(::mount(folder.path("L/A").constData(), folder.path("L/again").constData(), nullptr,
                      MS_BIND, nullptr),
              0);
    for (int i = 0; i < 100; ++i) {
        folder.makeFile("L/disk/" + QByteArray::number(i));
    }
    const QByteArray bookmark = marked("L/A/3");
    remove("L/A/3");
    setLocations({"L"});
    EXPECT_EQ(answer(bookmark), "lost");
    EXPECT_EQ(resolver->statistics().entries, 3 + 9);
    ::umount(folder.path("L/again").constData());
}

/// Another process that does something and is ended, should it wait for ever.
class Attempt {
  public:
    /// @param work tells whether it went well; nothing that it changes is seen here
    template <class Work>
    explicit Attempt(Work work) : process_(::fork()) {
        if (process_ == 0) {
            ::_exit(work() ? 0 : 1);
        }
    }
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    ~Attempt() { end(); }

    pid_t process() const { return process_; }
    /// Waits for its end. @return whether it went well
    bool wentWell() {
        int status = 1;
        ::waitpid(std::exchange(process_, -1), &status, 0);
        return status == 0;
    }
    void end() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            wentWell();
        }
    }

  private:
    pid_t process_;
};

/// A folder at which the system mounts something when somebody looks below it, and makes him wait
/// until that is done, here for ever.
class Automounted {
  public:
    explicit Automounted(const FileUrl& place) : server_([] { return ::pause() == 0; }) {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            return;
        }
        asked_ = FileDescriptor(ends[0]);
        const FileDescriptor asks(ends[1]);
        // The group of processes that serves it may look without asking; that must not be ours.
        ::setpgid(server_.process(), server_.process());
        mounted_.emplace("autofs", place,
                         "fd=" + QByteArray::number(asks.get()) +
                             ",pgrp=" + QByteArray::number(server_.process()) +
                             ",minproto=5,maxproto=5,direct");
    }

    bool isMounted() const { return mounted_ && mounted_->isMounted(); }
    /// Whether somebody looks within so many milliseconds.
    bool isAsked(int milliseconds) const {
        pollfd asked = {asked_.get(), POLLIN, 0};
        return ::poll(&asked, 1, milliseconds) == 1;
    }

  private:
    Attempt server_;
    FileDescriptor asked_;
    std::optional<Mounted> mounted_;
};

TEST_F(MountTest, NothingIsMountedForALook) {
    folder.makeFile("L/auto/A/x.mp3");
    folder.makeFile("L/B/y.mp3");
    const auto items = requests({"L/auto/A/x.mp3", "L/auto", "L/B/y.mp3"}, anywhere);
    move("L/B/y.mp3", "z.mp3");
    const Automounted automounted(at("L/auto"));
    if (!automounted.isMounted()) {
        GTEST_SKIP() << "this system can't mount autofs";
    }
    Attempt resolving([&] {
        setLocations({"L", "L/auto/A"});
        return answers(items) == Answers({"lost", "lost", "z.mp3 (stale)"});
    });
    if (automounted.isAsked(500)) {
        resolving.end();
        FAIL() << "it waits for something to be mounted";
    }
    EXPECT_TRUE(resolving.wentWell());

    // The trap works: whoever does look is heard.
    const Attempt looking([&] { return itemExists(at("L/auto/A/x.mp3")); });
    EXPECT_TRUE(automounted.isAsked(5000));
}

TEST(MountTableTest, KnowsWhatWouldHaveToBeMounted) {
    const MountTable mounts(
        "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "30 22 0:40 / /net rw shared:1 - autofs auto.net rw,indirect\n"
        "31 30 0:41 / /net/host rw - nfs host:/music rw\n"
        "32 22 0:42 / /mnt/My\\040disk rw master:1 propagate_from:2 - autofs systemd-1 rw,direct\n"
        "33 22 0:43 / /mnt/here rw - autofs systemd-1 rw,direct\n"
        "34 33 8:2 / /mnt/here rw - ext4 /dev/sdb1 rw\n"
        "a line that is none\n"
        "\n");
    for (const char* const path : {"/net/other/x", "/mnt/My disk", "/mnt/My disk/x"}) {
        EXPECT_TRUE(mounts.isWaitingForMount(path)) << path;
    }
    for (const char* const path : {"/mnt/My disk2/x", "/net/host/x", "/mnt/here/x", "/home/x"}) {
        EXPECT_FALSE(mounts.isWaitingForMount(path)) << path;
    }
    EXPECT_TRUE(mounts.isMountPointName("My disk"));
    EXPECT_TRUE(mounts.isMountPoint("/mnt/My disk"));
    EXPECT_FALSE(mounts.isMountPoint("/home/My disk"));
}

}  // namespace

}  // namespace halvenor::test
