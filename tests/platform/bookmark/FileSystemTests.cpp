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

class MountTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!hasOwnMounts()) {
            GTEST_SKIP() << "this user may not mount anything";
        }
    }

    TemporaryFolder folder_;
    BookmarkResolver resolver_{shortWalks()};
};

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
        remove(file);  // Made within one tick of the clock.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return {};
}

TEST(FileSystemTest, ANumberGivenOutAgainIsNotBelieved) {
    const TemporaryFolder folder;
    folder.makeFolder("L");
    BookmarkResolver resolver;
    resolver.setLocations({folder.path("L")});
    for (const char* const name : {"L/new.mp3", "L/x.mp3"}) {
        const FileUrl file = folder.makeFile("L/x.mp3");
        const auto status = fileStatus(file);
        const QByteArray bookmark = marked(file);
        remove(file);
        const FileUrl other = recycled(folder, name, *status);
        if (other.isEmpty()) {
            GTEST_SKIP() << "the file system gives out no number again";
        }
        EXPECT_EQ(told(resolved(resolver, bookmark), folder),
                  other == file ? "L/x.mp3 (stale)" : "lost");
        remove(other);
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

TEST(FileSystemTest, AHitIsBelievedForBirthOrHandle) {
    for (const ProofCase& test : proofCases) {
        for (const char* const name : {"L/file", "L/folder"}) {
            const bool isFolder = std::string_view(name) == "L/folder";
            const TemporaryFolder folder;
            const FileUrl item = isFolder ? folder.makeFolder(name) : folder.makeFile(name, "abc");
            const QByteArray whole = marked(item);
            auto front = decodedFront(whole);
            auto back = decodedBack(whole);
            if (!front->item.born || front->item.handle.isEmpty()) {
                GTEST_SKIP() << "the file system lacks births or handles";
            }
            test.change(*front, *back);
            BookmarkResolver resolver;
            resolver.setLocations({folder.path("L")});
            move(folder, name, "L/moved");
            EXPECT_EQ(
                told(resolved(resolver, encodedBookmark(*front, *back)), folder),
                (isFolder ? test.isBelievedOfFolder : test.isBelieved) ? "L/moved (stale)" : "lost")
                << test.name << " of " << name;
        }
    }
}

struct FileSystemCase {
    const char* type;
    bool hasLayers;
};

class EachFileSystemTest : public MountTest, public testing::WithParamInterface<FileSystemCase> {};

TEST_P(EachFileSystemTest, ItemsAreFollowed) {
    folder_.makeFolder("m");
    const Mounted below("tmpfs", folder_.at("m"));
    QByteArray options;
    for (const char* const name : {"m/lower", "m/upper", "m/work", "m/top"}) {
        folder_.makeFolder(name);
    }
    if (GetParam().hasLayers) {
        options = "lowerdir=" + folder_.path("m/lower") + ",upperdir=" + folder_.path("m/upper") +
                  ",workdir=" + folder_.path("m/work");
    }
    const Mounted top(GetParam().type, folder_.at("m/top"), options);
    if (!below.isMounted() || !top.isMounted()) {
        GTEST_SKIP() << "this system can't mount " << GetParam().type;
    }
    for (const char* const name : {"m/top/L/B/x.mp3", "m/top/L/C/x.mp3", "m/top/M/x.mp3"}) {
        folder_.makeFile(name);
    }
    std::vector<BookmarkRequest> requests;
    for (const char* const name : {"m/top/L/B/x.mp3", "m/top/L/C/x.mp3", "m/top/L"}) {
        requests.emplace_back(marked(folder_.at(name)), BookmarkScope::fileSystem);
    }
    move(folder_, "m/top/L/B/x.mp3", "m/top/L/y.mp3");
    move(folder_, "m/top/L/C", "m/top/L/D");
    move(folder_, "m/top/L", "m/top/M/K");
    resolver_.setLocations({folder_.path("m/top/L")});
    const auto resolutions = resolver_.resolve(requests);
    EXPECT_EQ(told(resolutions[0], folder_), "m/top/M/K/y.mp3 (stale)");
    EXPECT_EQ(told(resolutions[1], folder_), "m/top/M/K/D/x.mp3 (stale)");
    EXPECT_EQ(told(resolutions[2], folder_), "m/top/M/K (stale)");
    EXPECT_EQ(resolver_.statistics().walks, 1);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, EachFileSystemTest,
                         testing::Values(FileSystemCase{"tmpfs", false},
                                         FileSystemCase{"overlay", true}),
                         [](const auto& test) { return std::string(test.param.type); });

TEST_F(MountTest, AFileSystemThatIsAwayCostsNoWalk) {
    folder_.makeFile("L/x.mp3");
    folder_.makeFolder("L/disk");
    std::optional<Mounted> disk(std::in_place, "tmpfs", folder_.at("L/disk"));
    std::vector<BookmarkRequest> requests;
    for (const char* const name : {"L/disk/A/x.mp3", "L/disk/A", "L/disk"}) {
        if (name != std::string_view("L/disk")) {
            folder_.makeFile("L/disk/A/x.mp3");
        }
        requests.emplace_back(marked(folder_.at(name)), BookmarkScope::fileSystem);
    }
    resolver_.setLocations({folder_.path("L"), folder_.path("L/disk")});
    disk->unmount();  // The Locations that are held do not hinder it.
    for (const auto& resolution : resolver_.resolve(requests)) {
        EXPECT_EQ(told(resolution, folder_), "lost");
    }
    EXPECT_EQ(resolver_.statistics().walks, 0);

    disk.emplace("tmpfs", folder_.at("L/disk"));
    folder_.makeFile("L/disk/A/x.mp3");
    const auto another = resolver_.resolve(requests);
    EXPECT_EQ(told(another[0], folder_), "L/disk/A/x.mp3 (stale)");
    EXPECT_EQ(told(another[2], folder_), "L/disk (stale)");
    EXPECT_EQ(resolver_.statistics().walks, 0);
}

TEST_F(MountTest, AFileSystemThatIsMountedElsewhereIsFollowed) {
    folder_.makeFolder("one");
    folder_.makeFolder("two");
    Mounted disk("tmpfs", folder_.at("one"));
    folder_.makeFile("one/L/A/x.mp3");
    folder_.makeFile("one/L/A/y.mp3");
    std::vector<BookmarkRequest> requests;
    for (const char* const name : {"one/L/A/x.mp3", "one/L/A/y.mp3", "one"}) {
        requests.emplace_back(marked(folder_.at(name)), BookmarkScope::fileSystem);
    }
    move(folder_, "one/L/A/y.mp3", "one/z.mp3");
    disk.moveTo(folder_.at("two"));
    const auto resolutions = resolver_.resolve(requests);
    EXPECT_EQ(told(resolutions[0], folder_), "two/L/A/x.mp3 (stale)");
    EXPECT_EQ(told(resolutions[1], folder_), "two/z.mp3 (stale)");
    EXPECT_EQ(told(resolutions[2], folder_), "two (stale)");
}

TEST_F(MountTest, WalksEnterNoMountPoint) {
    for (int i = 0; i < 10; ++i) {
        folder_.makeFile("L/A/" + QByteArray::number(i));
    }
    folder_.makeFolder("L/disk");
    folder_.makeFolder("L/again");
    const Mounted disk("tmpfs", folder_.at("L/disk"));
    ASSERT_EQ(::mount(folder_.path("L/A").constData(), folder_.path("L/again").constData(), nullptr,
                      MS_BIND, nullptr),
              0);
    for (int i = 0; i < 100; ++i) {
        folder_.makeFile("L/disk/" + QByteArray::number(i));
    }
    const QByteArray bookmark = marked(folder_.at("L/A/3"));
    remove(folder_.at("L/A/3"));
    resolver_.setLocations({folder_.path("L")});
    EXPECT_FALSE(resolved(resolver_, bookmark));
    EXPECT_EQ(resolver_.statistics().entries, 3 + 9);
    ::umount(folder_.path("L/again").constData());
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
    folder_.makeFile("L/auto/A/x.mp3");
    folder_.makeFile("L/B/y.mp3");
    const std::vector<BookmarkRequest> requests = {
        BookmarkRequest(marked(folder_.at("L/auto/A/x.mp3")), BookmarkScope::fileSystem),
        BookmarkRequest(marked(folder_.at("L/auto")), BookmarkScope::fileSystem),
        BookmarkRequest(marked(folder_.at("L/B/y.mp3")), BookmarkScope::fileSystem)};
    move(folder_, "L/B/y.mp3", "z.mp3");
    const Automounted automounted(folder_.at("L/auto"));
    if (!automounted.isMounted()) {
        GTEST_SKIP() << "this system can't mount autofs";
    }
    Attempt resolving([&] {
        resolver_.setLocations({folder_.path("L"), folder_.path("L/auto/A")});
        const auto resolutions = resolver_.resolve(requests);
        return !resolutions[0] && !resolutions[1] &&
               told(resolutions[2], folder_) == "z.mp3 (stale)";
    });
    if (automounted.isAsked(500)) {
        resolving.end();
        FAIL() << "it waits for something to be mounted";
    }
    EXPECT_TRUE(resolving.wentWell());

    // The trap works: whoever does look is heard.
    const Attempt looking([&] { return itemExists(folder_.at("L/auto/A/x.mp3")); });
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
    EXPECT_TRUE(mounts.isWaitingForMount("/net/other/x"));
    EXPECT_TRUE(mounts.isWaitingForMount("/mnt/My disk"));
    EXPECT_TRUE(mounts.isWaitingForMount("/mnt/My disk/x"));
    EXPECT_FALSE(mounts.isWaitingForMount("/mnt/My disk2/x"));
    EXPECT_FALSE(mounts.isWaitingForMount("/net/host/x"));
    EXPECT_FALSE(mounts.isWaitingForMount("/mnt/here/x"));
    EXPECT_FALSE(mounts.isWaitingForMount("/home/x"));
    EXPECT_TRUE(mounts.isMountPointName("My disk"));
    EXPECT_TRUE(mounts.isMountPoint("/mnt/My disk"));
    EXPECT_FALSE(mounts.isMountPoint("/home/My disk"));
}

}  // namespace

}  // namespace halvenor::test
