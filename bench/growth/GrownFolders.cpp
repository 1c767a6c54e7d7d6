#include "GrownFolders.h"

#include <algorithm>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileDescriptor.h"
#include "support/MusicFolder.h"

namespace halvenor::bench {

namespace {

constexpr int foldersInOne = 100;
constexpr int filesInOne = 10;

void require(bool holds) {
    if (!holds) {
        throw std::runtime_error("cannot make the folders to measure with");
    }
}

}  // namespace

GrownTrackFolder::GrownTrackFolder(int count) {
    const MusicFolder originals(MusicFolder::tracksPerAlbum, 1000, 4170);
    for (int i = 0; i < count; ++i) {
        const FileUrl& original = originals.files()[i % originals.files().size()];
        const QByteArray name =
            QByteArray::number(i * 7919LL % count) + " some track." + original.pathExtension();
        const FileUrl link = url().appendingPathComponent(name);
        require(::link(original.path().constData(), link.path().constData()) == 0);
        files_.append(link);
    }
}

GrownTree::GrownTree(int count) {
    const QByteArray root = url().path();
    for (int i = 0; i < count; ++i) {
        const QByteArray parent = root + "/artist " + QByteArray::number(i / foldersInOne);
        if (i % foldersInOne == 0) {
            require(::mkdir(parent.constData(), 0700) == 0);
        }
        const QByteArray folder = parent + "/album " + QByteArray::number(i);
        require(::mkdir(folder.constData(), 0700) == 0);
        folders_.insert(folder);
    }
}

QSet<QByteArray> GrownTree::fill() const {
    QSet<QByteArray> files;
    for (const QByteArray& folder : folders_) {
        for (int i = 0; i < filesInOne; ++i) {
            const QByteArray path = folder + '/' + QByteArray::number(i) + " some track.flac";
            const FileDescriptor file(
                ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            require(file.get() >= 0);
            files.insert(path);
        }
    }
    return files;
}

}  // namespace halvenor::bench
