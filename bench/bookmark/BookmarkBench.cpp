// What following moved files costs beside the least that any program must do for it. A check in
// which nothing has moved beside one stat for each file; a search for a thousand moved files beside
// a bare walk through the tree that they are in.
#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <vector>

#include "LargeTree.h"
#include "platform/bookmark/Bookmark.h"
#include "support/Measure.h"
#include "support/Report.h"

namespace {

using halvenor::BookmarkRequest;
using halvenor::BookmarkResolver;
using halvenor::BookmarkScope;
using halvenor::FileUrl;
using halvenor::bench::LargeTree;
using halvenor::bench::median;
using halvenor::bench::seconds;

void require(bool isTrue, const char* otherwise) {
    if (!isTrue) {
        std::fprintf(stderr, "%s\n", otherwise);
        std::exit(1);
    }
}

std::vector<BookmarkRequest> requestsFor(const QList<FileUrl>& files) {
    std::vector<BookmarkRequest> requests;
    for (const auto& bookmark : halvenor::makeBookmarks(files)) {
        require(bookmark.has_value(), "no bookmark could be made");
        requests.emplace_back(*bookmark, BookmarkScope::searchRoots);
    }
    return requests;
}

void statAll(const QList<FileUrl>& files) {
    for (const FileUrl& file : files) {
        struct statx status = {};
        require(::statx(AT_FDCWD, file.path().constData(), AT_NO_AUTOMOUNT,
                        STATX_BASIC_STATS | STATX_BTIME, &status) == 0,
                "a file is not there");
    }
}

// Times two pieces of work in turn, so that whatever else the machine does meets both alike.
template <class Ours, class Bare>
bool compare(const char* work, const char* what, int pairs, double bound, Ours ours, Bare bare) {
    std::vector<double> our, other, ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        other.push_back(seconds(bare));
        our.push_back(seconds(ours));
        ratios.push_back(our.back() / other.back());
    }
    const double ratio = median(ratios);
    std::printf(what, median(our) * 1e3, median(other) * 1e3);
    std::printf(", ratio %.2f (median of %d; bound %.1f)\n", ratio, pairs, bound);
    return halvenor::bench::report({.work = work,
                                    .unit = "ms",
                                    .ours = median(our) * 1e3,
                                    .baseline = median(other) * 1e3,
                                    .ratio = ratio,
                                    .bound = bound});
}

// Ten files in each of a thousand folders.
bool compareUnmoved(const LargeTree& tree) {
    QList<FileUrl> files;
    for (int folder = 0; folder < 1000; ++folder) {
        for (int file = 0; file < 10; ++file) {
            files.append(FileUrl(tree.folder(3, folder / 20, folder % 20) + '/' +
                                 LargeTree::fileName(file)));
        }
    }
    std::vector<BookmarkRequest> requests;
    const double making = seconds([&] { requests = requestsFor(files); });
    const double makingSingly = seconds([&] {
        for (const FileUrl& file : files) {
            require(halvenor::makeBookmark(file).has_value(), "no bookmark could be made");
        }
    });
    std::printf("10,000 bookmarks made: %.1f ms, one by one %.1f ms\n", making * 1e3,
                makingSingly * 1e3);
    BookmarkResolver resolver;
    resolver.setLocations({tree.path()});
    return compare(
        "resolving 10,000 files that stayed",
        "10,000 unmoved files: resolved in %.1f ms, bare stat %.1f ms", 21, 1.4,
        [&] {
            const auto resolutions = resolver.resolve(requests);
            require(std::ranges::all_of(resolutions,
                                        [](const auto& found) { return found && !found->isStale; }),
                    "a file is not found");
        },
        [&] { statAll(files); });
}

// A thousand files from a hundred folders, in a folder that a walk comes to late.
bool compareMoved(const LargeTree& tree) {
    constexpr int last[] = {LargeTree::branches[0] - 1, LargeTree::branches[1] - 1,
                            LargeTree::branches[2] - 1};
    const QByteArray target = tree.folder(last[0], last[1], last[2]);
    QList<FileUrl> files;
    for (int i = 0; i < 1000; ++i) {
        files.append(
            FileUrl(tree.folder(i / 20, 7, i % 5) + '/' + LargeTree::fileName(i % 20 / 5)));
    }
    const auto requests = requestsFor(files);
    for (int i = 0; i < 1000; ++i) {
        const QByteArray moved = target + "/moved " + QByteArray::number(i);
        require(std::rename(files[i].path().constData(), moved.constData()) == 0,
                "a file can't be moved");
    }
    const int64_t entries = halvenor::bench::bareWalk(tree.path());
    std::printf("a tree of %lld entries\n", static_cast<long long>(entries));
    return compare(
        "finding 1,000 files that moved", "1,000 moved files: found in %.0f ms, bare walk %.0f ms",
        5, 1.5,
        [&] {
            BookmarkResolver resolver;
            resolver.setLocations({tree.path()});
            const auto resolutions = resolver.resolve(requests);
            require(std::ranges::all_of(resolutions,
                                        [&](const auto& found) {
                                            return found && found->url.path().startsWith(target);
                                        }),
                    "a file is not found");
        },
        [&] { require(halvenor::bench::bareWalk(tree.path()) == entries, "the tree changes"); });
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const LargeTree tree;
    const bool isUnmovedFast = compareUnmoved(tree);
    const bool isMovedFast = compareMoved(tree);
    return isUnmovedFast && isMovedFast ? 0 : 1;
}
