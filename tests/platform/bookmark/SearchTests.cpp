#include <iterator>

#include "Bookmarks.h"

namespace halvenor::test {

namespace {

using std::chrono::seconds;

int64_t entriesBelow(const FileUrl& folder) {
    const std::filesystem::recursive_directory_iterator all(folder.path().toStdString());
    return std::distance(begin(all), end(all));
}

QByteArray numbered(const QByteArray& name, int number) {
    return name + QByteArray::number(number);
}

// A Location with things in it, and what lies beside it.
struct SearchTest : testing::Test, MarkedFolder {
    // Makes a folder of `folders` folders with `files` files in each.
    void fill(const QByteArray& top, int folders, int files) const {
        for (int i = 0; i < folders; ++i) {
            for (int j = 0; j < files; ++j) {
                folder.makeFile(numbered(top + "/f", i) + numbered("/", j));
            }
        }
    }
};

TEST_F(SearchTest, OneWalkServesThousandsOfItems) {
    fill("L", 100, 20);
    fill("L/Z", 20, 20);
    folder.makeFolder("L/Z/New");
    QList<QByteArray> names;
    Answers expected;
    for (int i = 0; i < 100; ++i) {
        for (int j = 0; j < 20; ++j) {
            expected.append(numbered("L/Z/New/", static_cast<int>(names.size())) + " (stale)");
            names.append(numbered("L/f", i) + numbered("/", j));
        }
    }
    const auto items = requests(names);
    for (int i = 0; i < names.size(); ++i) {
        move(names[i], numbered("L/Z/New/", i));
    }
    setLocations({"L"});
    EXPECT_EQ(answers(items), expected);
    EXPECT_EQ(resolver->statistics().walks, 1);
    EXPECT_LE(resolver->statistics().entries, entriesBelow(at("L")));
}

TEST_F(SearchTest, ListsEachFolderOnceHoweverItIsReached) {
    fill("L", 10, 10);
    fill("L/A/B", 10, 10);
    fill("outside", 10, 10);
    folder.makeLink("K", "L");
    folder.makeLink("L/A/loop", "..");
    folder.makeLink("L/A/out", "../../outside");
    QList<QByteArray> names;
    for (int i = 0; i < 5; ++i) {
        names += {numbered("L/f1/", i), numbered("L/A/B/f1/", i), numbered("L/A/B/f2/", i)};
    }
    const auto items = requests(names);
    for (const QByteArray& name : names) {
        remove(name);
    }
    remove("L/A/B/f2");
    setLocations({"L", "L/A", "K"});
    EXPECT_EQ(answers(items), Answers(names.size(), "lost"));
    EXPECT_EQ(resolver->statistics().walks, 1);
    EXPECT_EQ(resolver->statistics().entries, entriesBelow(at("L")));
}

struct NearCase {
    const char* from;
    const char* to;
    int mostEntries;  // The folders inside are reached before the one that is searched.
};

struct NearTest : SearchTest, testing::WithParamInterface<NearCase> {};

TEST_P(NearTest, EndsWhereAllIsFound) {
    fill("L", 50, 5);
    for (int i = 0; i < 20; ++i) {
        folder.makeFile(numbered("L/A/B/", i));
    }
    const QByteArray bookmark = marked("L/A/B/0");
    move(GetParam().from, GetParam().to);
    setLocations({"L"});
    EXPECT_NE(answer(bookmark), "lost");
    EXPECT_LE(resolver->statistics().entries, GetParam().mostEntries);
}

INSTANTIATE_TEST_SUITE_P(Search, NearTest,
                         testing::Values(NearCase{"L/A/B/0", "L/A/B/new", 22},
                                         NearCase{"L/A/B/0", "L/A/new", 22},
                                         NearCase{"L/A", "L/new", 51}));

TEST_F(SearchTest, SearchesALocationThatTurnsUpElsewhere) {
    fill("L", 5, 5);
    fill("M", 5, 5);
    auto items = requests({"L/f1/1", "L/f2/1"});
    items.emplace_back(marked("L"), anywhere);
    move("L/f1/1", "L/f3/moved");
    move("L/f2/1", "M/f3/moved");
    move("L", "M/f4/K");
    setLocations({"L"});
    // The second has left all Locations.
    EXPECT_EQ(answers(items), Answers({"M/f4/K/f3/moved (stale)", "lost", "M/f4/K (stale)"}));
}

TEST_F(SearchTest, AnswersInTheOrderOfTheRequests) {
    for (const char* const name : {"L/a", "L/b", "L/c", "L/d"}) {
        folder.makeFile(name);
    }
    auto items = requests({"L/a", "L/b", "L/c", "L/d"});
    items.insert(items.begin() + 2, BookmarkRequest("no bookmark", anywhere));
    items.emplace_back(QByteArray(), roots);
    move("L/a", "L/e");
    remove("L/c");
    setLocations({"L"});
    EXPECT_EQ(answers(items), Answers({"L/e (stale)", "L/b", "lost", "lost", "L/d", "lost"}));
    EXPECT_EQ(answers({}), Answers());
}

TEST_F(SearchTest, PassesOverWhatItMayNotRead) {
    const Unprivileged nobody(folder);
    folder.makeFile("L/a/x");
    folder.makeFile("L/closed/y");
    folder.makeFolder("L/z");
    const QByteArray bookmark = marked("L/a/x");
    move("L/a/x", "L/z/x");
    const std::string closed = folder.path("L/closed").toStdString();
    std::filesystem::permissions(closed, std::filesystem::perms::none);
    setLocations({"L"});
    EXPECT_EQ(answer(bookmark), "L/z/x (stale)");
    std::filesystem::permissions(closed, std::filesystem::perms::owner_all);
}

TEST_F(SearchTest, LeavesNoDescriptorOpen) {
    fill("L", 10, 3);
    const auto openNow = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = openNow();
    setLocations({"L", "L/f1", "missing"});
    EXPECT_EQ(openNow(), before + 2);
    const QByteArray bookmark = marked("L/f2/1");
    remove("L/f2/1");
    EXPECT_EQ(answer(bookmark, anywhere), "lost");
    EXPECT_EQ(openNow(), before + 2);
    setLocations({"L/f1"});
    EXPECT_EQ(openNow(), before + 1);
    resolver.reset();
    EXPECT_EQ(openNow(), before);
}

// A resolver whose clock is moved by hand, and a Location of it with an item that is lost.
class PauseTest : public SearchTest {
  protected:
    PauseTest() {
        fill("L", 20, 20);
        fill("M", 2, 2);
        options_.now = [this] { return now_; };
        begin();
        first_ = marked("L/f0/0");
        move("L/f0/0", "M/first");
    }

    void begin() {
        resolver.emplace(options_);
        setLocations({"L"});
    }
    // How many walks it takes to look for these.
    int walksFor(const QList<QByteArray>& bookmarks) {
        const int before = resolver->statistics().walks;
        std::vector<BookmarkRequest> items;
        for (const QByteArray& bookmark : bookmarks) {
            items.emplace_back(bookmark, roots);
        }
        foundAll_ = !answers(items).contains("lost");
        return resolver->statistics().walks - before;
    }

    std::chrono::steady_clock::time_point now_;
    BookmarkResolver::Options options_;
    QByteArray first_;
    bool foundAll_ = false;  // at the latest look
};

TEST_F(PauseTest, DoublesFromAMinuteToAnHour) {
    EXPECT_EQ(walksFor({first_}), 1);
    for (const int pause : {60, 120, 240, 480, 960, 1920, 3600, 3600}) {
        now_ += seconds(pause - 1);
        EXPECT_EQ(walksFor({first_}), 0) << pause;
        now_ += seconds(1);
        EXPECT_EQ(walksFor({first_}), 1) << pause;
    }
}

TEST_F(PauseTest, EndsWhenAnotherItemIsLost) {
    const QByteArray second = marked("L/f1/1");
    EXPECT_EQ(walksFor({first_, second}), 1);
    now_ += seconds(60);
    EXPECT_EQ(walksFor({first_, second}), 1);
    move("L/f1/1", "M/second");
    EXPECT_EQ(walksFor({first_, second}), 1);
    EXPECT_EQ(walksFor({first_, second}), 0);
    now_ += seconds(60);
    EXPECT_EQ(walksFor({first_, second}), 1) << "the pause begins anew";
}

TEST_F(PauseTest, EndsForWhatWasThereInBetween) {
    EXPECT_EQ(walksFor({first_}), 1);
    move("M/first", "L/f0/0");
    EXPECT_EQ(walksFor({first_}), 0);
    EXPECT_TRUE(foundAll_);
    move("L/f0/0", "M/first");
    EXPECT_EQ(walksFor({first_}), 1);
}

TEST_F(PauseTest, EndsWithANewLocation) {
    EXPECT_EQ(walksFor({first_}), 1);
    setLocations({"L", "M"});
    EXPECT_EQ(walksFor({first_}), 1);
    EXPECT_TRUE(foundAll_);
}

TEST_F(PauseTest, FollowsAWalkThatWasCutOff) {
    options_.mostEntries = 100;
    begin();
    EXPECT_EQ(walksFor({first_}), 1);
    EXPECT_LT(resolver->statistics().entries, 100 + 20) << "the folder that exceeds it is the last";
    EXPECT_EQ(walksFor({first_}), 0);
}

TEST_F(PauseTest, DoesNotFollowAWalkThatWasStopped) {
    std::stop_source stop;
    bool stopsNow = true;
    options_.now = [&] {
        if (stopsNow) {
            stop.request_stop();  // just before the walk
        }
        return now_;
    };
    begin();
    const BookmarkRequest lost(first_, roots);
    const BookmarkRequest there(marked("L/f1/1"), roots);
    folder.makeFile("L/f0/0");  // would do as stale
    EXPECT_EQ(answers({there, lost}, stop.get_token()), Answers({"L/f1/1", "lost"}));
    EXPECT_LE(resolver->statistics().entries, 20);
    EXPECT_EQ(answers({there}, stop.get_token()), Answers({"lost"})) << "stopped before it began";
    stopsNow = false;
    EXPECT_EQ(walksFor({first_}), 1);
}

}  // namespace

}  // namespace halvenor::test
