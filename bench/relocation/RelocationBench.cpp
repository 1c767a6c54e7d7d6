// What it costs to look after remembered files, beside the least that any program must do for it.
//
// The check that comes every few seconds, of 10,000 files in 1,000 folders that have not changed:
// one stat for each file and one listing of each folder. The target is at most 1.5 times that, and
// no file's content may be read and nothing written.
//
// The verification of a moved folder of 1,000 files: reading the same three blocks of each and
// taking their SHA-256, by the same library. The target is at most 1.3 times that.
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/FileStatus.h"
#include "relocation/MoveDetection.h"
#include "relocation/RelocationStore.h"
#include "support/Measure.h"
#include "support/Report.h"

namespace {

using halvenor::FileDescriptor;
using halvenor::FileUrl;
using halvenor::bench::median;
using halvenor::bench::seconds;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

void require(bool holds, const char* what) {
    if (!holds) {
        fail(what);
    }
}

// Artists' folders with albums' folders with tracks.
class Library {
  public:
    struct Form {
        int artists;
        int albums;  // of each artist
        int tracks;  // of each album
        int64_t trackSize;
    };

    Library(const QByteArray& root, const Form& form) : root_(root) {
        makeFolder(root);
        for (int artist = 0; artist < form.artists; ++artist) {
            const QByteArray place = root + "/Some Artist No. " + QByteArray::number(artist);
            makeFolder(place);
            for (int album = 0; album < form.albums; ++album) {
                fill(place + "/19" + QByteArray::number(60 + album) + " - Some Album", form);
            }
        }
    }

    const QByteArray& root() const { return root_; }
    const std::vector<QByteArray>& files() const { return files_; }
    const std::vector<QByteArray>& folders() const { return folders_; }

    halvenor::RelocationRecords prepared(const halvenor::RelocationRecords& records = {},
                                         const halvenor::ResolvedMoves& seen = {}) const {
        return halvenor::prepared(records, fileSet_, folderSet_, seen);
    }

  private:
    void makeFolder(const QByteArray& path) {
        require(::mkdir(path.constData(), 0700) == 0, "cannot make a folder");
        folders_.push_back(path);
        folderSet_.insert(path);
    }

    void fill(const QByteArray& album, const Form& form) {
        makeFolder(album);
        for (int track = 0; track < form.tracks; ++track) {
            const QByteArray path = album + '/' + QByteArray::number(10 + track) + " - A Song.flac";
            const FileDescriptor file(
                ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            // Sparse, but for its beginning: reading a hole costs what reading cached bytes does.
            require(::ftruncate(file.get(), form.trackSize) == 0 &&
                        ::pwrite(file.get(), path.constData(), static_cast<size_t>(path.size()),
                                 0) == path.size(),
                    "cannot make a file");
            files_.push_back(path);
            fileSet_.insert(path);
        }
    }

    QByteArray root_;
    std::vector<QByteArray> files_;
    std::vector<QByteArray> folders_;
    QSet<QByteArray> fileSet_;
    QSet<QByteArray> folderSet_;
};

// Both in turn, so that whatever else the machine does meets both alike.
template <class Ours, class Bare>
bool compare(const char* what, Ours ours, Bare bare, int pairs, double target) {
    std::vector<double> ourTimes;
    std::vector<double> bareTimes;
    std::vector<double> ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        bareTimes.push_back(seconds(bare));
        ourTimes.push_back(seconds(ours));
        ratios.push_back(ourTimes.back() / bareTimes.back());
    }
    const double ratio = median(ratios);
    std::printf("%s: bare %.2f ms, ours %.2f ms, ratio %.2f (median of %d; target %.1f)\n", what,
                median(bareTimes) * 1e3, median(ourTimes) * 1e3, ratio, pairs, target);
    return halvenor::bench::report({.work = what,
                                    .unit = "ms",
                                    .ours = median(ourTimes) * 1e3,
                                    .baseline = median(bareTimes) * 1e3,
                                    .ratio = ratio,
                                    .bound = target});
}

// The bytes that this process has read and written so far, by whatever call.
struct Transfers {
    long long read = 0;
    long long written = 0;

    static Transfers now() {
        Transfers now;
        const FileDescriptor file(::open("/proc/self/io", O_RDONLY | O_CLOEXEC));
        char text[512] = {};
        require(::read(file.get(), text, sizeof text - 1) > 0 &&
                    std::sscanf(text, "rchar: %lld wchar: %lld", &now.read, &now.written) == 2,
                "cannot read the counters");
        return now;
    }
};

void bareLook(const Library& library) {
    for (const QByteArray& path : library.files()) {
        struct stat status = {};
        require(::stat(path.constData(), &status) == 0, "a file is missing");
    }
    for (const QByteArray& path : library.folders()) {
        DIR* const stream = ::opendir(path.constData());
        require(stream != nullptr, "a folder is missing");
        while (::readdir(stream) != nullptr) {
        }
        ::closedir(stream);
    }
}

bool compareChecks(const QByteArray& folder) {
    const Library library(folder + "/library",
                          {.artists = 40, .albums = 25, .tracks = 10, .trackSize = 4000});
    halvenor::RelocationStore store(FileUrl(folder + "/relocation.json"));
    store.install(library.prepared());
    require(store.flush(), "cannot write the records");
    halvenor::BookmarkResolver resolver;
    resolver.setLocations({library.root()});

    const auto records = store.records();
    const auto check = [&] {
        const auto found = halvenor::resolvedMoves(store.records(), {}, resolver);
        store.install(library.prepared(store.records(), found));
    };
    const Transfers before = Transfers::now();
    check();
    const Transfers after = Transfers::now();
    require(store.flush() && store.records() == records, "an unchanged library looks changed");
    std::printf("one check of %zu files and %zu folders: %lld bytes read, %lld written\n",
                library.files().size(), library.folders().size(), after.read - before.read,
                after.written - before.written);
    // Reading the counters counts as well.
    require(after.read - before.read < 16384, "the check has read files");
    require(after.written == before.written, "the check has written something");
    return compare(
        "check of 10,000 remembered files", check, [&] { bareLook(library); }, 31, 1.5);
}

void bareFingerprints(const Library& library) {
    static std::array<char, 65536> block;
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    for (const QByteArray& path : library.files()) {
        const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
        struct stat status = {};
        require(::fstat(file.get(), &status) == 0, "a file is missing");
        EVP_DigestInit_ex(context, EVP_sha256(), nullptr);
        for (const int64_t offset :
             {int64_t{0}, status.st_size / 2 - 32768, status.st_size - 65536}) {
            const ssize_t count = ::pread(file.get(), block.data(), block.size(), offset);
            require(count == std::ssize(block), "a file is too short");
            EVP_DigestUpdate(context, block.data(), block.size());
        }
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
        unsigned size = 0;
        EVP_DigestFinal_ex(context, digest.data(), &size);
    }
    EVP_MD_CTX_free(context);
}

bool compareVerifications(const QByteArray& folder) {
    const Library library(folder + "/moved",
                          {.artists = 1, .albums = 50, .tracks = 20, .trackSize = 20'000'000});
    const QByteArray old = folder + "/old";
    halvenor::RelocationRecords records;
    for (halvenor::RelocationRecord record : library.prepared()) {
        record.path = halvenor::replacing(record.path, library.root(), old);
        if (!record.isDirectory) {  // Folders' witnesses are more files to read.
            records.append(record);
        }
    }
    const auto verify = [&] {
        require(halvenor::validate(records, old, library.root()), "the folder was not verified");
    };
    return compare(
        "verification of 1000 files", verify, [&] { bareFingerprints(library); }, 11, 1.3);
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    const QByteArray path = folder.path().toUtf8();
    const bool isCheckFast = compareChecks(path);
    const bool isVerificationFast = compareVerifications(path);
    return isCheckFast && isVerificationFast ? 0 : 1;
}
