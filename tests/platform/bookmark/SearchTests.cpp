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

// A folder of `folders` folders with `files` files in each.
void fill(const TemporaryFolder& folder, const QByteArray& top, int folders, int files) {
    for (int i = 0; i < folders; ++i) {
        for (int j = 0; j < files; ++j) {
            folder.makeFile(numbered(top + "/f", i) + numbered("/", j));
        }
    }
}

std::vector<BookmarkRequest> requestsFor(const QList<FileUrl>& urls,
                                         BookmarkScope scope = BookmarkScope::searchRoots) {
    std::vector<BookmarkRequest> requests;
    for (const auto& bookmark : makeBookmarks(urls)) {
        requests.emplace_back(bookmark.value_or(QByteArray()), scope);
    }
    return requests;
}

TEST(SearchTest, OneWalkServesThousandsOfItems) {
    const TemporaryFolder folder;
    fill(folder, "L", 100, 20);
    fill(folder, "L/Z", 20, 20);
    folder.makeFolder("L/Z/New");
    QList<FileUrl> urls;
    for (int i = 0; i < 100; ++i) {
        for (int j = 0; j < 20; ++j) {
            urls.append(folder.at(numbered("L/f", i) + numbered("/", j)));
        }
    }
    const auto requests = requestsFor(urls);
    for (int i = 0; i < urls.size(); ++i) {
        const QByteArray to = folder.path(numbered("L/Z/New/", i));
        ASSERT_EQ(std::rename(urls[i].path().constData(), to.constData()), 0);
    }
    BookmarkResolver resolver;
    resolver.setLocations({folder.path("L")});
    const auto resolutions = resolver.resolve(requests);
    for (int i = 0; i < urls.size(); ++i) {
        ASSERT_EQ(told(resolutions[static_cast<size_t>(i)], folder),
                  numbered("L/Z/New/", i) + " (stale)");
    }
    EXPECT_EQ(resolver.statistics().walks, 1);
    EXPECT_LE(resolver.statistics().entries, entriesBelow(folder.at("L")));
}

TEST(SearchTest, ListsEachFolderOnceHoweverItIsReached) {
    const TemporaryFolder folder;
    fill(folder, "L", 10, 10);
    fill(folder, "L/A/B", 10, 10);
    fill(folder, "outside", 10, 10);
    folder.makeLink("K", "L");
    folder.makeLink("L/A/loop", "..");
    folder.makeLink("L/A/out", "../../outside");
    QList<FileUrl> urls;
    for (int i = 0; i < 5; ++i) {
        urls += {folder.at(numbered("L/f1/", i)), folder.at(numbered("L/A/B/f1/", i)),
                 folder.at(numbered("L/A/B/f2/", i))};
    }
    const auto requests = requestsFor(urls);
    for (const FileUrl& url : urls) {
        remove(url);
    }
    remove(folder.at("L/A/B/f2"));
    BookmarkResolver resolver;
    resolver.setLocations({folder.path("L"), folder.path("L/A"), folder.path("K")});
    for (const auto& resolution : resolver.resolve(requests)) {
        EXPECT_EQ(told(resolution, folder), "lost");
    }
    EXPECT_EQ(resolver.statistics().walks, 1);
    EXPECT_EQ(resolver.statistics().entries, entriesBelow(folder.at("L")));
}

struct NearCase {
    const char* from;
    const char* to;
    const char* item;
    const char* listed;  // the folder that is all that has to be listed
};

TEST(SearchTest, EndsWhereAllIsFound) {
    for (const NearCase& test : {
             NearCase{"L/A/B/0", "L/A/B/new", "L/A/B/0", "L/A/B"},
             NearCase{"L/A/B/0", "L/A/new", "L/A/B/0", "L/A"},
             NearCase{"L/A", "L/new", "L/A/B/0", "L"},
         }) {
        const TemporaryFolder folder;
        fill(folder, "L", 50, 5);
        for (int i = 0; i < 20; ++i) {
            folder.makeFile(numbered("L/A/B/", i));
        }
        const QByteArray bookmark = marked(folder.at(test.item));
        move(folder, test.from, test.to);
        BookmarkResolver resolver;
        resolver.setLocations({folder.path("L")});
        EXPECT_TRUE(resolved(resolver, bookmark)) << test.to;
        // The folders inside are reached before it.
        const int64_t most = QByteArray(test.listed) == "L" ? 51 : 22;
        EXPECT_LE(resolver.statistics().entries, most) << test.to;
    }
}

TEST(SearchTest, SearchesALocationThatTurnsUpElsewhere) {
    const TemporaryFolder folder;
    fill(folder, "L", 5, 5);
    fill(folder, "M", 5, 5);
    const auto location = BookmarkRequest(marked(folder.at("L")), BookmarkScope::fileSystem);
    const auto inside = BookmarkRequest(marked(folder.at("L/f1/1")), BookmarkScope::searchRoots);
    const auto left = BookmarkRequest(marked(folder.at("L/f2/1")), BookmarkScope::searchRoots);
    move(folder, "L/f1/1", "L/f3/moved");
    move(folder, "L/f2/1", "M/f3/moved");
    move(folder, "L", "M/f4/K");
    BookmarkResolver resolver(shortWalks());
    resolver.setLocations({folder.path("L")});
    const auto resolutions = resolver.resolve({inside, left, location});
    EXPECT_EQ(told(resolutions[0], folder), "M/f4/K/f3/moved (stale)");
    EXPECT_EQ(told(resolutions[1], folder), "lost") << "it has left all Locations";
    EXPECT_EQ(told(resolutions[2], folder), "M/f4/K (stale)");
}

TEST(SearchTest, AnswersInTheOrderOfTheRequests) {
    const TemporaryFolder folder;
    for (const char* const name : {"L/a", "L/b", "L/c", "L/d"}) {
        folder.makeFile(name);
    }
    auto requests = requestsFor({folder.at("L/a"), folder.at("L/b"), folder.at("L/c"),
                                 folder.at("L/d"), folder.at("L/missing")});
    requests.insert(requests.begin() + 2,
                    BookmarkRequest("no bookmark", BookmarkScope::fileSystem));
    move(folder, "L/a", "L/e");
    remove(folder.at("L/c"));
    BookmarkResolver resolver;
    resolver.setLocations({folder.path("L")});
    QList<QByteArray> answers;
    for (const auto& resolution : resolver.resolve(requests)) {
        answers.append(told(resolution, folder));
    }
    EXPECT_EQ(answers, QList<QByteArray>({"L/e (stale)", "L/b", "lost", "lost", "L/d", "lost"}));
    EXPECT_TRUE(resolver.resolve({}).empty());
}

TEST(SearchTest, PassesOverWhatItMayNotRead) {
    const TemporaryFolder folder;
    const Unprivileged nobody(folder);
    folder.makeFile("L/a/x");
    folder.makeFile("L/closed/y");
    folder.makeFolder("L/z");
    const QByteArray bookmark = marked(folder.at("L/a/x"));
    move(folder, "L/a/x", "L/z/x");
    std::filesystem::permissions(folder.path("L/closed").toStdString(),
                                 std::filesystem::perms::none);
    BookmarkResolver resolver;
    resolver.setLocations({folder.path("L")});
    EXPECT_EQ(told(resolved(resolver, bookmark), folder), "L/z/x (stale)");
    std::filesystem::permissions(folder.path("L/closed").toStdString(),
                                 std::filesystem::perms::owner_all);
}

TEST(SearchTest, LeavesNoDescriptorOpen) {
    const TemporaryFolder folder;
    fill(folder, "L", 10, 3);
    const auto openNow = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = openNow();
    {
        BookmarkResolver resolver(shortWalks());
        resolver.setLocations({folder.path("L"), folder.path("L/f1"), folder.path("missing")});
        EXPECT_EQ(openNow(), before + 2);
        const QByteArray bookmark = marked(folder.at("L/f2/1"));
        remove(folder.at("L/f2/1"));
        EXPECT_FALSE(resolved(resolver, bookmark, BookmarkScope::fileSystem));
        EXPECT_EQ(openNow(), before + 2);
        resolver.setLocations({folder.path("L/f1")});
        EXPECT_EQ(openNow(), before + 1);
    }
    EXPECT_EQ(openNow(), before);
}

// A resolver whose clock is moved by hand, and a Location of it with an item that is lost.
class PauseTest : public testing::Test {
  protected:
    PauseTest() {
        fill(folder_, "L", 20, 20);
        fill(folder_, "M", 2, 2);
        options_.now = [this] { return now_; };
        resolver_.emplace(options_);
        resolver_->setLocations({folder_.path("L")});
        first_ = marked(folder_.at("L/f0/0"));
        move(folder_, "L/f0/0", "M/first");
    }

    // How many walks it takes to look for these.
    int walksFor(const QList<QByteArray>& bookmarks) {
        const int before = resolver_->statistics().walks;
        std::vector<BookmarkRequest> requests;
        for (const QByteArray& bookmark : bookmarks) {
            requests.emplace_back(bookmark, BookmarkScope::searchRoots);
        }
        for (const auto& resolution : resolver_->resolve(requests)) {
            foundAll_ = foundAll_ && resolution;
        }
        return resolver_->statistics().walks - before;
    }

    TemporaryFolder folder_;
    std::chrono::steady_clock::time_point now_;
    BookmarkResolver::Options options_;
    std::optional<BookmarkResolver> resolver_;
    QByteArray first_;
    bool foundAll_ = true;
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
    const QByteArray second = marked(folder_.at("L/f1/1"));
    EXPECT_EQ(walksFor({first_, second}), 1);
    now_ += seconds(60);
    EXPECT_EQ(walksFor({first_, second}), 1);
    move(folder_, "L/f1/1", "M/second");
    EXPECT_EQ(walksFor({first_, second}), 1);
    EXPECT_EQ(walksFor({first_, second}), 0);
    now_ += seconds(60);
    EXPECT_EQ(walksFor({first_, second}), 1) << "the pause begins anew";
}

TEST_F(PauseTest, EndsForWhatWasThereInBetween) {
    EXPECT_EQ(walksFor({first_}), 1);
    move(folder_, "M/first", "L/f0/0");
    foundAll_ = true;
    EXPECT_EQ(walksFor({first_}), 0);
    EXPECT_TRUE(foundAll_);
    move(folder_, "L/f0/0", "M/first");
    EXPECT_EQ(walksFor({first_}), 1);
}

TEST_F(PauseTest, EndsWithANewLocation) {
    EXPECT_EQ(walksFor({first_}), 1);
    resolver_->setLocations({folder_.path("L"), folder_.path("M")});
    foundAll_ = true;
    EXPECT_EQ(walksFor({first_}), 1);
    EXPECT_TRUE(foundAll_);
}

TEST_F(PauseTest, FollowsAWalkThatWasCutOff) {
    options_.mostEntries = 100;
    resolver_.emplace(options_);
    resolver_->setLocations({folder_.path("L")});
    EXPECT_EQ(walksFor({first_}), 1);
    EXPECT_LT(resolver_->statistics().entries, 100 + 20)
        << "the folder that exceeds it is the last";
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
    resolver_.emplace(options_);
    resolver_->setLocations({folder_.path("L")});
    const BookmarkRequest lost(first_, BookmarkScope::searchRoots);
    const BookmarkRequest there(marked(folder_.at("L/f1/1")), BookmarkScope::searchRoots);
    folder_.makeFile("L/f0/0");  // would do as stale
    const auto resolutions = resolver_->resolve({there, lost}, stop.get_token());
    EXPECT_EQ(told(resolutions[0], folder_), "L/f1/1");
    EXPECT_EQ(told(resolutions[1], folder_), "lost");
    EXPECT_LE(resolver_->statistics().entries, 20);
    EXPECT_FALSE(resolver_->resolve({there}, stop.get_token())[0]) << "stopped before it began";
    stopsNow = false;
    EXPECT_EQ(walksFor({first_}), 1);
}

}  // namespace

}  // namespace halvenor::test
