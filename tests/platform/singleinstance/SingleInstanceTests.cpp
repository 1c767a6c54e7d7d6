// Launches are real processes, as locks and sockets are between processes.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <gmock/gmock.h>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "base/FileDescriptor.h"
#include "platform/singleinstance/SingleInstance.h"
#include "platform/userfolders/UserFolders.h"
#include "support/ChildProcess.h"
#include "support/EventLoop.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::ChildProcess;
using test::spinFor;
using test::spinUntil;
using testing::HasSubstr;
using testing::StartsWith;
using Role = SingleInstance::Role;
using namespace std::chrono_literals;

/// One launch of the program, and what it has printed.
class Launch {
  public:
    Launch(const test::TemporaryFolder& folder, const std::vector<std::string>& manner,
           const std::string& token = "")
        : output_(folder.path("output-" + QByteArray::number(++count_))) {
        std::vector<std::string> command = {LAUNCH_PROGRAM, folder.path("instance").toStdString(),
                                            "20000"};
        command.insert(command.end(), manner.begin(), manner.end());
        process_ = ChildProcess(
            {.command = command,
             .environment = {{"XDG_ACTIVATION_TOKEN", token}, {"DESKTOP_STARTUP_ID", ""}},
             .outputFile = output_.toStdString()});
    }

    std::string printed() const {
        QFile file(QFile::decodeName(output_));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
    }
    bool hasPrinted(const std::string& text) const {
        return spinUntil([&] { return printed().find(text) != std::string::npos; });
    }
    ChildProcess& process() { return process_; }

  private:
    static inline int count_ = 0;
    QByteArray output_;
    ChildProcess process_;
};

class SingleInstanceTest : public testing::Test {
  protected:
    SingleInstance claim(std::chrono::milliseconds patience = 20s) {
        return SingleInstance(LaunchRequest{"our-token", "our-id"}, patience,
                              folder_.at("instance"));
    }
    /// The first one, which has the lock.
    Launch launched(const std::vector<std::string>& manner) const {
        Launch first(folder_, manner);
        EXPECT_TRUE(first.hasPrinted("first"));
        return first;
    }
    /// A connection to the socket of the first one; not open when there is none to be had.
    FileDescriptor connectToFirst(int flags = 0) const {
        FileDescriptor guest(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, folder_.path("instance/socket").constData(),
                     sizeof address.sun_path - 1);
        const int result =
            ::connect(guest.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        return result == 0 ? std::move(guest) : FileDescriptor();
    }

    bool exists(const QByteArray& name) const {
        return QFile::exists(QFile::decodeName(folder_.path(name)));
    }
    /// Counts the launches that the first one hears of.
    void count(SingleInstance& first) {
        first.setOnLaunch([this](const LaunchRequest&) { ++launches_; });
    }

    test::TemporaryFolder folder_;
    int launches_ = 0;
};

TEST_F(SingleInstanceTest, aLaterLaunchHandsOverWhatTheDesktopGaveItAndEnds) {
    SingleInstance first = claim();
    ASSERT_EQ(first.role(), Role::first);
    std::vector<QByteArray> tokens;
    first.setOnLaunch([&](const LaunchRequest& request) {
        tokens.push_back(request.activationToken);
        EXPECT_THAT(request.startupId.toStdString(), "");
    });
    for (const char* token : {"token-1", "", "two\nlines"}) {
        Launch later(folder_, {"serve"}, token);
        EXPECT_TRUE(later.hasPrinted("second"));
        EXPECT_EQ(later.process().wait(), 0);
    }
    EXPECT_THAT(tokens, testing::ElementsAre("token-1", "", ""));
}

TEST_F(SingleInstanceTest, theLaunchThatWaitsIsAnsweredAfterTheWindowShows) {
    Launch first = launched({"serve"});
    const SingleInstance later = claim();
    EXPECT_EQ(later.role(), Role::second);
    // Already printed when the answer came: no waiting here.
    EXPECT_THAT(first.printed(), HasSubstr("launch our-token our-id"));
}

TEST_F(SingleInstanceTest, whatIsToBeOpenedArrivesByteForByteAndAsMuchAsFits) {
    Launch first = launched({"serve"});
    const auto handOver = [&](const std::vector<FileUrl>& places) {
        const SingleInstance later({"", "", places}, 20s, folder_.at("instance"));
        EXPECT_EQ(later.role(), Role::second);
    };
    const FileUrl hostile("/m/two\nlines=\xff and more");
    const FileUrl longest("/" + QByteArray(4000, '\xfe'));
    handOver({hostile, longest, FileUrl("/m")});
    EXPECT_THAT(first.printed(), HasSubstr("launch   " + hostile.encoded().toStdString() + " " +
                                           longest.encoded().toStdString() + " " +
                                           FileUrl("/m").encoded().toStdString() + "\n"));
    handOver(std::vector<FileUrl>(100, longest));
    const std::string printed = first.printed();
    const std::string last = printed.substr(printed.rfind("launch"));
    EXPECT_EQ(std::ranges::count(last, '/'), 3 * 5) << "each is 12 kB of 64";
}

TEST_F(SingleInstanceTest, ofManyAtOnceOneStays) {
    std::vector<std::unique_ptr<Launch>> launches;
    for (int i = 0; i < 20; ++i) {
        launches.push_back(std::make_unique<Launch>(folder_, std::vector<std::string>{"serve"}));
    }
    int firsts = 0;
    for (const auto& launch : launches) {
        ASSERT_TRUE(launch->hasPrinted("\n"));
        firsts += launch->printed().starts_with("first") ? 1 : 0;
        EXPECT_EQ(launch->printed().find("unanswered"), std::string::npos);
    }
    EXPECT_EQ(firsts, 1);
}

TEST_F(SingleInstanceTest, whatACrashLeavesIsNotInTheWay) {
    Launch first = launched({"serve"});
    first.process().kill();
    EXPECT_TRUE(exists("instance/socket"));
    SingleInstance next = claim(0ms);
    ASSERT_EQ(next.role(), Role::first);
    count(next);
    EXPECT_TRUE(Launch(folder_, {"serve"}).hasPrinted("second"));
    EXPECT_EQ(launches_, 1);
}

TEST_F(SingleInstanceTest, oneThatHangsHoldsNobodyUp) {
    Launch first = launched({"hang"});
    QElapsedTimer timer;
    timer.start();
    const SingleInstance later = claim(300ms);
    EXPECT_EQ(later.role(), Role::unanswered);
    EXPECT_THAT(later.problem().toStdString(),
                HasSubstr("process " + std::to_string(first.process().id()) + ")"));
    EXPECT_GE(timer.elapsed(), 300);
    EXPECT_LT(timer.elapsed(), 3000);
}

TEST_F(SingleInstanceTest, oneThatHangsWithAFullQueueHoldsNobodyUp) {
    Launch first = launched({"hang"});
    std::vector<FileDescriptor> crowd;
    for (int i = 0; i < 200; ++i) {
        FileDescriptor guest = connectToFirst(SOCK_NONBLOCK);
        if (!guest.isOpen()) {
            break;
        }
        crowd.push_back(std::move(guest));
    }
    ASSERT_LT(crowd.size(), 200U);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(claim(300ms).role(), Role::unanswered);
    EXPECT_LT(timer.elapsed(), 3000);
}

TEST_F(SingleInstanceTest, aLaunchDuringTheEndOfTheFirstTakesItsPlace) {
    Launch first = launched({"end-after", "300"});
    EXPECT_EQ(claim().role(), Role::first);
    EXPECT_EQ(first.process().wait(), 0);
}

TEST_F(SingleInstanceTest, anObjectThatGoesMakesRoom) {
    { const SingleInstance first = claim(); }
    EXPECT_FALSE(exists("instance/socket"));
    EXPECT_EQ(claim(0ms).role(), Role::first);
}

TEST_F(SingleInstanceTest, nonsenseOnTheSocketChangesNothing) {
    SingleInstance first = claim();
    count(first);
    std::vector<FileDescriptor> silent;
    for (int i = 0; i < 40; ++i) {
        silent.push_back(connectToFirst());
        ASSERT_TRUE(silent.back().isOpen());
        spinFor(1ms);
    }
    EXPECT_THAT(launches_, 0);
    // More than are kept at a time: the later ones were turned away, the kept ones leave in time.
    EXPECT_TRUE(spinUntil([&] {
        char byte = 0;
        return ::recv(silent.front().get(), &byte, 1, MSG_DONTWAIT) == 0;
    }));
    for (const QByteArray& nonsense :
         {QByteArray("halvenor"), QByteArray(100'000, 'x'), QByteArray(1, '\0'),
          QByteArray("HALVENOR LAUNCH 1\n"), QByteArray("halvenor launch 2\n")}) {
        const FileDescriptor guest = connectToFirst();
        ASSERT_EQ(::send(guest.get(), nonsense.constData(), nonsense.size(), MSG_NOSIGNAL),
                  nonsense.size());
        char answer[64];
        EXPECT_TRUE(spinUntil([&] {
            return ::recv(guest.get(), answer, sizeof answer, MSG_DONTWAIT) == 0;
        })) << nonsense.left(20).constData();
    }
    EXPECT_EQ(launches_, 0);
    EXPECT_TRUE(Launch(folder_, {"serve"}).hasPrinted("second"));
    EXPECT_EQ(launches_, 1);

    // And nobody spins afterwards.
    const std::clock_t before = std::clock();
    spinFor(500ms);
    EXPECT_LT(static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC, 0.25);
}

TEST_F(SingleInstanceTest, othersAreKeptOut) {
    SingleInstance first = claim();
    count(first);
    struct stat status = {};
    ASSERT_EQ(::stat(folder_.path("instance/socket").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(::stat(folder_.path("instance").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);

    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can act as another user";
    }
    // Should the permissions ever let another user in, the socket itself still tells who it is.
    ASSERT_EQ(::chmod(folder_.path("").constData(), 0755), 0);
    ASSERT_EQ(::chmod(folder_.path("instance").constData(), 0755), 0);
    ASSERT_EQ(::chmod(folder_.path("instance/socket").constData(), 0666), 0);
    ASSERT_EQ(::seteuid(65534), 0);
    const FileDescriptor guest = connectToFirst();
    const QByteArray request = "halvenor launch 1\n";
    const ssize_t sent = ::send(guest.get(), request.constData(), request.size(), MSG_NOSIGNAL);
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(sent, request.size());
    char answer[64];
    EXPECT_TRUE(spinUntil([&] {
        return ::recv(guest.get(), answer, sizeof answer, MSG_DONTWAIT) <= 0 && errno != EAGAIN;
    }));
    EXPECT_EQ(launches_, 0);
}

TEST_F(SingleInstanceTest, aFolderOfSomebodyElsesIsNotUsed) {
    folder_.makeFolder("instance");
    ASSERT_EQ(::chmod(folder_.path("instance").constData(), 0777), 0);
    EXPECT_EQ(claim(0ms).role(), Role::first);
    EXPECT_FALSE(exists("instance/lock"));

    ASSERT_EQ(::rename(folder_.path("instance").constData(), folder_.path("other").constData()), 0);
    folder_.makeLink("instance", folder_.path("other"));
    EXPECT_EQ(claim(0ms).role(), Role::first);
    EXPECT_FALSE(exists("other/lock"));
}

TEST_F(SingleInstanceTest, theFolderIsInARuntimeFolderThatIsOursAlone) {
    const QByteArray saved = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray other = "/tmp/halvenor-" + QByteArray::number(::geteuid());
    const FileUrl runtime = folder_.makeFolder("runtime");
    qputenv("XDG_RUNTIME_DIR", runtime.path());
    EXPECT_EQ(SingleInstance::defaultFolder(), folder_.at("runtime/halvenor"));
    ::chmod(runtime.path().constData(), 0755);
    EXPECT_EQ(SingleInstance::defaultFolder().path(), other);
    for (const char* unusable : {"", "relative", "/nowhere/at/all", "/etc/hostname"}) {
        qputenv("XDG_RUNTIME_DIR", unusable);
        EXPECT_EQ(SingleInstance::defaultFolder().path(), other) << unusable;
    }
    qputenv("XDG_RUNTIME_DIR", saved);
}

TEST_F(SingleInstanceTest, foldersMayHaveLongNames) {
    const QByteArray deep = QByteArray(100, 'a') + "/" + QByteArray(100, 'b');
    folder_.makeFolder(deep);
    const FileUrl folder = folder_.at(deep + "/instance");
    SingleInstance first({}, 0ms, folder);
    first.setOnLaunch([](const LaunchRequest&) {});
    EXPECT_TRUE(QFile::exists(QFile::decodeName(folder.appendingPathComponent("socket").path())));
}

}  // namespace
}  // namespace halvenor
