#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "platform/settings/Settings.h"
#include "support/EventLoop.h"
#include "support/TemporaryFolder.h"

namespace halvenor {
namespace {

using test::spinUntil;
using testing::HasSubstr;

const QByteArray foreignPath = "/music/\xe9\xff";

class SettingsTest : public testing::Test {
  protected:
    // What the file holds now, or nothing.
    QByteArray written() const {
        try {
            return readFile(file_);
        } catch (const Error&) {
            return {};
        }
    }
    ino_t inode() const {
        struct stat status = {};
        return ::stat(file_.path().constData(), &status) == 0 ? status.st_ino : 0;
    }

    test::TemporaryFolder folder_;
    FileUrl file_ = folder_.at("config/Halvenor/settings.json");
};

TEST_F(SettingsTest, EveryTypeComesBackFromTheFile) {
    QByteArray allBytes;
    for (int byte = 0; byte < 256; ++byte) {
        allBytes.append(static_cast<char>(byte));
    }
    const QString text = QStringLiteral("@x \"quoted\" \\ \u00e9\U0001F3B5\n");
    const QList<QByteArray> paths = {"/music/a, b", foreignPath, "/music/\xc3\xa9", "/music/a, b"};
    const QHash<QByteArray, QByteArray> byPath = {{foreignPath, allBytes}, {"/a", ""}};
    {
        Settings settings(file_);
        settings.setBoolean("no", false);
        settings.setNumber("number", 0.1 + 0.2);
        settings.setNumber("large", 9007199254740993.0 * 1024);
        settings.setString("text", text);
        settings.setString("empty", QString());
        settings.setPath("path", foreignPath);
        settings.setPaths("paths", paths);
        settings.setPaths("none", {});
        settings.setData("data", allBytes);
        settings.setDataList("list", {allBytes, ""});
        settings.setDataByPath("map", byPath);
    }
    const Settings settings(file_);
    EXPECT_EQ(settings.boolean("no"), false);
    EXPECT_EQ(settings.number("number"), 0.1 + 0.2);
    EXPECT_EQ(settings.number("large"), 9007199254740993.0 * 1024);
    EXPECT_EQ(settings.string("text"), text);
    EXPECT_EQ(settings.string("empty"), QString());
    EXPECT_EQ(settings.path("path"), foreignPath);
    EXPECT_EQ(settings.paths("paths"), paths);
    EXPECT_EQ(settings.paths("none"), QList<QByteArray>());
    EXPECT_EQ(settings.data("data"), allBytes);
    EXPECT_EQ(settings.dataList("list"), (QList<QByteArray>{allBytes, ""}));
    EXPECT_EQ(settings.dataByPath("map"), byPath);
    EXPECT_FALSE(settings.contains("never set"));
}

TEST_F(SettingsTest, ReadsWhatAScriptWrote) {
    folder_.makeFile("config/Halvenor/settings.json",
                     R"({"volume":1,"on":true,"paths":["/a",{"bytes":"L+k="}],"path":"/\u00e9",)"
                     R"("map":[{"data":"AAE=","path":{"bytes":"L+k="}}]})");
    const Settings settings(file_);
    EXPECT_EQ(settings.number("volume"), 1.0);
    EXPECT_EQ(settings.boolean("on"), true);
    EXPECT_EQ(settings.paths("paths"), (QList<QByteArray>{"/a", "/\xe9"}));
    EXPECT_EQ(settings.path("path"), "/\xc3\xa9");
    EXPECT_EQ(settings.dataByPath("map"),
              (QHash<QByteArray, QByteArray>{{"/\xe9", QByteArray("\0\1", 2)}}));
}

TEST_F(SettingsTest, AValueOfAnotherFormReadsAsAbsent) {
    // Which readers take which value: boolean, number, string, path, data, paths, dataList, map.
    for (const auto& [value, readers] : {std::pair{"null", ""},
                                         {"true", "b"},
                                         {"1", "n"},
                                         {R"("/text")", "sp"},
                                         {"{}", ""},
                                         {"[]", "PLM"},
                                         {R"({"bytes":"L+k="})", "p"},
                                         {R"({"data":"AA=="})", "d"},
                                         {R"({"data":"not base64!"})", ""},
                                         {R"({"data":7})", ""},
                                         {R"(["/a",7])", ""},
                                         {R"([{"data":"AA=="},{}])", ""},
                                         {R"([{"path":"/a","data":"AA=="},{"path":"/b"}])", ""},
                                         {R"([{"path":7,"data":"AA=="}])", ""}}) {
        SCOPED_TRACE(value);
        folder_.makeFile("config/Halvenor/settings.json", QByteArray("{\"key\":") + value + "}");
        const Settings settings(file_);
        EXPECT_TRUE(settings.contains("key"));
        std::string taken;
        taken += settings.boolean("key") ? "b" : "";
        taken += settings.number("key") ? "n" : "";
        taken += settings.string("key") ? "s" : "";
        taken += settings.path("key") ? "p" : "";
        taken += settings.data("key") ? "d" : "";
        taken += settings.paths("key") ? "P" : "";
        taken += settings.dataList("key") ? "L" : "";
        taken += settings.dataByPath("key") ? "M" : "";
        EXPECT_EQ(taken, readers);
    }
}

TEST_F(SettingsTest, KeepsWhatItDoesNotKnowAndWritesReadably) {
    folder_.makeFile("config/Halvenor/settings.json",
                     R"({"z": {"later": [1, 2.5, null, "x"]}, "a": 18446744073709551615})");
    {
        Settings settings(file_);
        settings.setPath("m", foreignPath);
    }
    EXPECT_EQ(written(), R"({
  "a": 18446744073709551615,
  "m": {
    "bytes": "L211c2ljL+n/"
  },
  "z": {
    "later": [
      1,
      2.5,
      null,
      "x"
    ]
  }
}
)");
}

// What happened, in order: writes, and moments to compare them with. Timers of one event loop keep
// their order also on a machine that is slow or busy, when times measured would not hold.
class Moments {
  public:
    explicit Moments(
        Settings& settings, std::function<void()> onWrite = [] {}) {
        settings.setAboutToWriteHandler([this, onWrite = std::move(onWrite)] {
            happened_ << QStringLiteral("write");
            onWrite();
        });
    }

    void mark(
        int milliseconds, std::function<void()> act = [] {}) {
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, &context_, [this, milliseconds, act] {
            happened_ << QString::number(milliseconds);
            act();
        });
    }

    // What has happened when the mark of that time has come; then all is forgotten.
    std::string until(
        int milliseconds, const std::function<void()>& meanwhile = [] {}) {
        EXPECT_TRUE(spinUntil([&] {
            meanwhile();
            return happened_.contains(QString::number(milliseconds));
        }));
        return std::exchange(happened_, {}).join(u' ').toStdString();
    }

  private:
    QStringList happened_;
    QObject context_;
};

TEST_F(SettingsTest, WritesAtMostOnceASecondAndNothingForEqualValues) {
    Settings settings(file_);
    Moments moments(settings);
    for (const int time : {750, 1250, 1750, 2250}) {
        moments.mark(time);
    }
    int changes = 0;
    EXPECT_EQ(moments.until(2250, [&] { settings.setNumber("position", ++changes); }),
              "750 write 1250 1750 write 2250")
        << "steady changes neither hurry the write nor put it off";
    EXPECT_TRUE(spinUntil([&] { return inode() != 0; }));
    EXPECT_TRUE(settings.flush());
    EXPECT_THAT(written().toStdString(), HasSubstr(std::to_string(changes)));
    const ino_t flushed = inode();
    settings.setNumber("position", changes);
    settings.setNumber("position", std::numeric_limits<double>::quiet_NaN());
    settings.remove("never set");
    EXPECT_TRUE(settings.flush());
    EXPECT_EQ(inode(), flushed);
    settings.remove("position");
    EXPECT_TRUE(settings.flush());
    EXPECT_EQ(written(), "{}\n");
}

TEST_F(SettingsTest, NoChangeWaitsForMoreThanASecondAndTheLatestIsTakenUpRightBeforeAWrite) {
    Settings settings(file_);
    double now = 1;
    const auto isWritten = [&] { return Settings(file_).number("now") == now; };
    Moments moments(settings, [&] { settings.setNumber("now", now); });
    settings.setBoolean("on", true);
    for (const int time : {750, 1250, 1750, 2250}) {
        moments.mark(time);
    }
    moments.mark(1600, [&] {
        settings.setBoolean("on", false);
        now = 2;
    });
    EXPECT_EQ(moments.until(1250), "750 write 1250");
    EXPECT_TRUE(spinUntil(isWritten));
    EXPECT_EQ(moments.until(2250), "1600 1750 write 2250")
        << "a second after the last write, not after the change";
    EXPECT_TRUE(spinUntil(isWritten));

    now = 3;
    moments.mark(2200);
    EXPECT_EQ(moments.until(2200), "2200") << "without a change there is nothing to write";
    EXPECT_EQ(settings.number("now"), 2);
    settings.setBoolean("on", true);
    moments.mark(750);
    moments.mark(1250);
    EXPECT_EQ(moments.until(1250), "750 write 1250");
    EXPECT_TRUE(spinUntil(isWritten));
}

TEST_F(SettingsTest, MakesMissingFoldersForTheUserAlone) {
    Settings settings(file_);
    settings.setBoolean("on", true);
    EXPECT_TRUE(settings.flush());
    for (const char* name : {"config", "config/Halvenor", "config/Halvenor/settings.json"}) {
        struct stat status = {};
        ASSERT_EQ(::stat(folder_.path(name).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 0077U, 0U) << name;
    }
}

TEST_F(SettingsTest, ADamagedFileIsKeptAside) {
    const QByteArray deep = "{\"a\":" + QByteArray(200'000, '[') + QByteArray(200'000, ']') + "}";
    const QByteArray deepObjects =
        QByteArray("{\"a\":").repeated(100'000) + "1" + QByteArray(100'000, '}');
    const std::vector<QByteArray> damaged = {
        "",           "{\"a\": tru",      "[1]",
        "{\"a\":1}x", "{\"a\":\"\xff\"}", QByteArray(3, '\0'),
        deep,         deepObjects,        QByteArray(500'000, '[')};
    int number = 0;
    for (const QByteArray& contents : damaged) {
        SCOPED_TRACE(contents.left(20).constData());
        folder_.makeFolder("config/Halvenor");
        writeFileAtomically(file_, contents);
        const FileUrl copy(file_.path() + ".damaged-" + QByteArray::number(++number));
        Settings settings(file_);
        EXPECT_FALSE(settings.contains("a"));
        EXPECT_TRUE(settings.flush());
        EXPECT_EQ(written(), contents) << "nothing changed, nothing written";
        settings.setBoolean("on", true);
        EXPECT_TRUE(settings.flush());
        EXPECT_EQ(readFile(copy), contents);
        EXPECT_EQ(written(), "{\n  \"on\": true\n}\n");
    }
}

TEST_F(SettingsTest, AFailedWriteIsTriedAgain) {
    folder_.makeFile("config", "in the way");
    Settings settings(file_);
    settings.setBoolean("on", true);
    EXPECT_FALSE(settings.flush());
    EXPECT_EQ(settings.boolean("on"), true);
    ASSERT_EQ(::unlink(folder_.path("config").constData()), 0);
    EXPECT_TRUE(settings.flush());
    EXPECT_THAT(written().toStdString(), HasSubstr("true"));
}

TEST_F(SettingsTest, WritesNothingOverAFileThatItCannotKeep) {
    const test::Unprivileged rights(folder_);
    folder_.makeFile("config/Halvenor/settings.json", "broken");
    ASSERT_EQ(::chmod(folder_.path("config/Halvenor").constData(), 0500), 0);
    Settings settings(file_);
    settings.setBoolean("on", true);
    EXPECT_FALSE(settings.flush());
    EXPECT_EQ(written(), "broken");
    ASSERT_EQ(::chmod(folder_.path("config/Halvenor").constData(), 0700), 0);
    EXPECT_TRUE(settings.flush());
}

TEST(Settings, TheDefaultFileFollowsTheEnvironment) {
    const QByteArray oldConfigured = qgetenv("XDG_CONFIG_HOME");
    const QByteArray oldHome = qgetenv("HOME");
    qputenv("HOME", "/h\xe9");
    for (const auto& [configured, folder] :
         {std::pair{"/c\xe9", "/c\xe9"}, {"", "/h\xe9/.config"}, {"relative", "/h\xe9/.config"}}) {
        qputenv("XDG_CONFIG_HOME", configured);
        EXPECT_EQ(Settings::defaultFile().path(), QByteArray(folder) + "/Halvenor/settings.json");
    }
    qputenv("XDG_CONFIG_HOME", oldConfigured);
    qputenv("HOME", oldHome);
}

}  // namespace
}  // namespace halvenor
