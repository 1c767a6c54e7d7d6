#include "Bookmarks.h"

namespace halvenor::test {

namespace {

struct Move {
    QByteArray from;
    QByteArray to;
};

// One move by hand. Files are told from folders by their dots; names at the end of `made` that hold
// "->" are links.
struct MoveCase {
    const char* name;
    QList<QByteArray> made;
    QByteArray item;
    std::vector<Move> moves;
    QList<QByteArray> madeAfter;
    QByteArray expected;
    BookmarkScope scope = BookmarkScope::searchRoots;
    QList<QByteArray> locations = {"L"};
};

const QByteArray odd = "A\n100%20 \xE9\xFF";
constexpr BookmarkScope roots = BookmarkScope::searchRoots;
constexpr BookmarkScope anywhere = BookmarkScope::fileSystem;

const MoveCase moveCases[] = {
    {"Unmoved", {"L/A/x.mp3"}, "L/A/x.mp3", {}, {}, "L/A/x.mp3"},
    {"UnmovedFolder", {"L/A/x.mp3"}, "L/A", {}, {}, "L/A"},
    {"FileRenamed",
     {"L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "L/A/y.mp3"}},
     {},
     "L/A/y.mp3 (stale)"},
    {"FileToAnotherFolder",
     {"L/A/x.mp3", "L/B/C/y.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "L/B/C/x.mp3"}},
     {},
     "L/B/C/x.mp3 (stale)"},
    {"FileToAnotherLocation",
     {"L/A/x.mp3", "M/y.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "M/x.mp3"}},
     {},
     "M/x.mp3 (stale)",
     roots,
     {"L", "M"}},
    {"FileAndItsPlaceTaken",
     {"L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "L/x.mp3"}},
     {"L/A/x.mp3"},
     "L/x.mp3 (stale)"},
    {"NamesSwapped",
     {"L/x.mp3", "L/y.mp3"},
     "L/x.mp3",
     {{"L/x.mp3", "L/t"}, {"L/y.mp3", "L/x.mp3"}, {"L/t", "L/y.mp3"}},
     {},
     "L/y.mp3 (stale)"},
    {"SavedOver",
     {"L/x.mp3", "L/.x.mp3.tmp"},
     "L/x.mp3",
     {{"L/.x.mp3.tmp", "L/x.mp3"}},
     {},
     "L/x.mp3 (stale)"},
    {"KindChanged", {"L/x"}, "L/x", {{"L/x", "t"}}, {"L/x/y.mp3"}, "lost"},
    {"FolderRenamed", {"L/A/x.mp3"}, "L/A", {{"L/A", "L/B"}}, {}, "L/B (stale)"},
    {"FolderAboveRenamed", {"L/A/x.mp3"}, "L/A/x.mp3", {{"L/A", "L/B"}}, {}, "L/B/x.mp3 (stale)"},
    {"FolderAboveReplaced",
     {"L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A", "L/B"}},
     {"L/A/x.mp3"},
     "L/B/x.mp3 (stale)"},
    {"TwoFoldersAbove",
     {"L/A/B/x.mp3"},
     "L/A/B/x.mp3",
     {{"L/A/B", "L/A/C"}, {"L/A", "L/D"}},
     {},
     "L/D/C/x.mp3 (stale)"},
    {"FolderAboveAndFile",
     {"L/A/B/x.mp3"},
     "L/A/B/x.mp3",
     {{"L/A", "L/C"}, {"L/C/B/x.mp3", "L/C/y.mp3"}},
     {},
     "L/C/y.mp3 (stale)"},
    {"Location", {"L/A/x.mp3", "M/m"}, "L", {{"L", "M/K"}}, {}, "M/K (stale)", anywhere},
    {"InMovedLocation",
     {"L/A/x.mp3", "M/m"},
     "L/A/x.mp3",
     {{"L", "M/K"}},
     {},
     "M/K/A/x.mp3 (stale)",
     anywhere},
    {"DeepInMovedLocation",
     {"L/1/2/3/4/5/6/7/8/9/x.mp3"},
     "L/1/2/3/4/5/6/7/8/9/x.mp3",
     {{"L", "K"}},
     {},
     "K/1/2/3/4/5/6/7/8/9/x.mp3 (stale)",
     anywhere},
    {"LocationAndFileInIt",
     {"L/A/x.mp3", "L/B/y.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "L/B/z.mp3"}, {"L", "K"}},
     {},
     "K/B/z.mp3 (stale)",
     anywhere},
    {"LocationNamedAsIfDeleted",
     {"L/x.mp3"},
     "L/x.mp3",
     {{"L", "L (deleted)"}},
     {},
     "L (deleted)/x.mp3 (stale)",
     anywhere},
    {"LocationReplaced",
     {"L/x.mp3"},
     "L/x.mp3",
     {{"L", "K"}},
     {"L/x.mp3"},
     "K/x.mp3 (stale)",
     anywhere},
    {"NestedLocationMovedOut",
     {"L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A", "K"}},
     {},
     "K/x.mp3 (stale)",
     anywhere,
     {"L", "L/A"}},
    {"OutOfTheLocations", {"L/x.mp3", "M/m"}, "L/x.mp3", {{"L/x.mp3", "M/x.mp3"}}, {}, "lost"},
    {"OutOfTheLocationsSought",
     {"L/x.mp3", "M/m"},
     "L/x.mp3",
     {{"L/x.mp3", "M/x.mp3"}},
     {},
     "M/x.mp3 (stale)",
     anywhere},
    {"OddNames",
     {"L/" + odd + "/" + odd},
     "L/" + odd + "/" + odd,
     {{"L/" + odd + "/" + odd, "L/\n\xFE"}},
     {},
     "L/\n\xFE (stale)"},
    {"FolderWithOddName",
     {"L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A", "L/" + odd}},
     {},
     "L/" + odd + "/x.mp3 (stale)"},
    {"TrashOfTheLocation",
     {"L/x.mp3", "L/.Trash-1000/files/y.mp3"},
     "L/x.mp3",
     {{"L/x.mp3", "L/.Trash-1000/files/x.mp3"}},
     {},
     "L/.Trash-1000/files/x.mp3 (stale)"},
    {"AnotherNameOfTheFile",
     {"L/x.mp3", "L/A/y.mp3=L/x.mp3"},
     "L/x.mp3",
     {{"L/x.mp3", "t"}},
     {},
     "L/A/y.mp3 (stale)"},
    {"AnotherNameNotInTheTrash",
     {"L/A/x.mp3", "L/.Trash/t", "L/B/C/D/y.mp3=L/A/x.mp3"},
     "L/A/x.mp3",
     {{"L/A/x.mp3", "L/.Trash/x.mp3"}},
     {},
     "L/B/C/D/y.mp3 (stale)"},
    {"LocationIsALink",
     {"R/A/x.mp3", "K->R"},
     "K/A/x.mp3",
     {{"R/A/x.mp3", "R/y.mp3"}},
     {},
     "K/y.mp3 (stale)",
     roots,
     {"K"}},
    {"LocationIsALinkAndMoved",
     {"R/A/x.mp3", "K->R"},
     "K/A/x.mp3",
     {{"R", "S"}},
     {},
     "S/A/x.mp3 (stale)",
     anywhere,
     {"K"}},
    {"ItemIsALink", {"L/x.mp3", "L/k->x.mp3"}, "L/k", {}, {}, "L/k"},
    {"ItemIsALinkAndItsFileRenamed",
     {"L/x.mp3", "L/k->x.mp3"},
     "L/k",
     {{"L/x.mp3", "L/y.mp3"}},
     {},
     "L/y.mp3 (stale)"},
    {"LinkRenamed",
     {"L/A/x.mp3", "L/k->A/x.mp3"},
     "L/k",
     {{"L/k", "L/l"}},
     {},
     "L/A/x.mp3 (stale)"},
};

void make(const TemporaryFolder& folder, const QByteArray& entry) {
    if (const qsizetype arrow = entry.indexOf("->"); arrow > 0) {
        folder.makeLink(entry.left(arrow), entry.mid(arrow + 2));
    } else if (const qsizetype equals = entry.indexOf('='); equals > 0) {
        const QByteArray name = entry.left(equals);
        folder.makeFolder(name.left(name.lastIndexOf('/')));
        std::filesystem::create_hard_link(folder.path(entry.mid(equals + 1)).toStdString(),
                                          folder.path(name).toStdString());
    } else {
        folder.makeFile(entry, entry);
    }
}

// Whether the program was running, with the Locations held, while things were moved; or whether it
// starts afterwards, with their old paths.
enum class Program { running, started };

class MoveTest : public testing::TestWithParam<std::tuple<MoveCase, Program>> {};

TEST_P(MoveTest, IsFollowed) {
    const auto& [test, program] = GetParam();
    const TemporaryFolder folder;
    for (const QByteArray& entry : test.made) {
        make(folder, entry);
    }
    QList<QByteArray> locations;
    for (const QByteArray& location : test.locations) {
        locations.append(folder.path(location));
    }
    std::vector<BookmarkRequest> requests = {
        BookmarkRequest(marked(folder.at(test.item)), test.scope)};
    BookmarkResolver resolver(shortWalks());
    if (program == Program::running) {
        resolver.setLocations(locations);
    }
    for (const Move& step : test.moves) {
        move(folder, step.from, step.to);
    }
    for (const QByteArray& entry : test.madeAfter) {
        make(folder, entry);
    }
    resolver.setLocations(locations);
    const auto resolutions = resolver.resolve(requests);
    EXPECT_EQ(told(resolutions[0], folder), test.expected);
}

INSTANTIATE_TEST_SUITE_P(Moves, MoveTest,
                         testing::Combine(testing::ValuesIn(moveCases),
                                          testing::Values(Program::running, Program::started)),
                         [](const auto& test) {
                             const bool isRunning = std::get<1>(test.param) == Program::running;
                             return std::string(std::get<0>(test.param).name) +
                                    (isRunning ? "Running" : "Started");
                         });

}  // namespace

}  // namespace halvenor::test
