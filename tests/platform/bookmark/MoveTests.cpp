#include "Bookmarks.h"

namespace halvenor::test {

namespace {

// What a user does by hand, step by step: "L/A/x" makes a file and the folders above it, "K->L/x" a
// link and "L/y=L/x" another name of a file; "A > B" moves. Before the first move the bookmark of
// the item is made.
struct MoveCase {
    const char* name;
    QByteArray item;
    QList<QByteArray> steps;
    QByteArray expected;
    BookmarkScope scope = roots;
    QList<QByteArray> locations = {"L"};
};

const QByteArray odd = "A\n100%20 \xE9\xFF";
const QByteArray allOdd = "L/" + odd + "/" + odd;

const MoveCase moveCases[] = {
    {"Unmoved", "L/A/x", {"L/A/x"}, "L/A/x"},
    {"UnmovedFolder", "L/A", {"L/A/x"}, "L/A"},
    {"FileRenamed", "L/A/x", {"L/A/x", "L/A/x > L/A/y"}, "L/A/y (stale)"},
    {"FileToAnotherFolder", "L/A/x", {"L/A/x", "L/B/y", "L/A/x > L/B/x"}, "L/B/x (stale)"},
    {"FileToAnotherLocation", "L/x", {"L/x", "M/y", "L/x > M/x"}, "M/x (stale)", roots, {"L", "M"}},
    {"FileAndItsPlaceTaken", "L/A/x", {"L/A/x", "L/A/x > L/x", "L/A/x"}, "L/x (stale)"},
    {"NamesSwapped", "L/x", {"L/x", "L/y", "L/x > L/t", "L/y > L/x", "L/t > L/y"}, "L/y (stale)"},
    {"SavedOver", "L/x", {"L/x", "L/.x.tmp", "L/.x.tmp > L/x"}, "L/x (stale)"},
    {"KindChanged", "L/x", {"L/x", "L/x > t", "L/x/y"}, "lost"},
    {"FolderRenamed", "L/A", {"L/A/x", "L/A > L/B"}, "L/B (stale)"},
    {"FolderAboveRenamed", "L/A/x", {"L/A/x", "L/A > L/B"}, "L/B/x (stale)"},
    {"FolderAboveReplaced", "L/A/x", {"L/A/x", "L/A > L/B", "L/A/x"}, "L/B/x (stale)"},
    {"TwoFoldersAbove", "L/A/B/x", {"L/A/B/x", "L/A/B > L/A/C", "L/A > L/D"}, "L/D/C/x (stale)"},
    {"FolderAboveAndFile", "L/A/B/x", {"L/A/B/x", "L/A > L/C", "L/C/B/x > L/C/y"}, "L/C/y (stale)"},
    {"Location", "L", {"L/A/x", "M/m", "L > M/K"}, "M/K (stale)", anywhere},
    {"InMovedLocation", "L/A/x", {"L/A/x", "M/m", "L > M/K"}, "M/K/A/x (stale)", anywhere},
    {"DeepInMovedLocation",
     "L/1/2/3/4/5/6/7/8/9/x",
     {"L/1/2/3/4/5/6/7/8/9/x", "L > K"},
     "K/1/2/3/4/5/6/7/8/9/x (stale)",
     anywhere},
    {"LocationAndFile", "L/x", {"L/x", "L/B/y", "L/x > L/B/z", "L > K"}, "K/B/z (stale)", anywhere},
    {"LocationAsIfDeleted", "L/x", {"L/x", "L > L (deleted)"}, "L (deleted)/x (stale)", anywhere},
    {"LocationReplaced", "L/x", {"L/x", "L > K", "L/x"}, "K/x (stale)", anywhere},
    {"NestedLocationLeft", "L/A/x", {"L/A/x", "L/A > K"}, "K/x (stale)", anywhere, {"L", "L/A"}},
    {"OutOfTheLocations", "L/x", {"L/x", "M/m", "L/x > M/x"}, "lost"},
    {"OutOfTheLocationsSought", "L/x", {"L/x", "M/m", "L/x > M/x"}, "M/x (stale)", anywhere},
    {"OddNames", allOdd, {allOdd, allOdd + " > L/\n\xFE"}, "L/\n\xFE (stale)"},
    {"FolderWithOddName", "L/A/x", {"L/A/x", "L/A > L/" + odd}, "L/" + odd + "/x (stale)"},
    {"TrashInside", "L/x", {"L/x", "L/.Trash-1/y", "L/x > L/.Trash-1/x"}, "L/.Trash-1/x (stale)"},
    {"AnotherNameOfTheFile", "L/x", {"L/x", "L/A/y=L/x", "L/x > t"}, "L/A/y (stale)"},
    {"AnotherNameNotInTheTrash",
     "L/A/x",
     {"L/A/x", "L/.Trash/t", "L/B/C/D/y=L/A/x", "L/A/x > L/.Trash/x"},
     "L/B/C/D/y (stale)"},
    {"LocationIsALink", "K/A/x", {"R/A/x", "K->R", "R/A/x > R/y"}, "K/y (stale)", roots, {"K"}},
    {"LocationIsALinkAndMoved", "K/x", {"R/x", "K->R", "R > S"}, "S/x (stale)", anywhere, {"K"}},
    {"ItemIsALink", "L/k", {"L/x", "L/k->x"}, "L/k"},
    {"ItemIsALinkAndItsFileRenamed", "L/k", {"L/x", "L/k->x", "L/x > L/y"}, "L/y (stale)"},
    {"LinkRenamed", "L/k", {"L/A/x", "L/k->A/x", "L/k > L/l"}, "L/A/x (stale)"},
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

class MoveTest : public testing::TestWithParam<std::tuple<MoveCase, Program>>,
                 public MarkedFolder {};

TEST_P(MoveTest, IsFollowed) {
    const MoveCase& test = std::get<MoveCase>(GetParam());
    const auto isMove = [](const QByteArray& step) { return step.contains(" > "); };
    auto step = test.steps.begin();
    for (; step != test.steps.end() && !isMove(*step); ++step) {
        make(folder, *step);
    }
    const QByteArray bookmark = marked(test.item);
    if (std::get<Program>(GetParam()) == Program::running) {
        setLocations(test.locations);
    }
    for (; step != test.steps.end(); ++step) {
        if (isMove(*step)) {
            const qsizetype arrow = step->indexOf(" > ");
            move(step->left(arrow), step->mid(arrow + 3));
        } else {
            make(folder, *step);
        }
    }
    setLocations(test.locations);
    EXPECT_EQ(answer(bookmark, test.scope), test.expected);
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
