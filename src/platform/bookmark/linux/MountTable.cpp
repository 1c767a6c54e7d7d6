#include "platform/bookmark/linux/MountTable.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

#include "base/FileDescriptor.h"
#include "base/FileUrl.h"
#include "base/MoveTable.h"
#include "platform/bookmark/linux/SeenItem.h"

namespace halvenor {

namespace {

QByteArray wholeFile(const char* path) {
    const FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    QByteArray bytes;
    std::array<char, 8192> buffer;
    while (true) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count <= 0) {
            return bytes;
        }
        bytes.append(buffer.data(), count);
    }
}

bool isOctal(char digit) {
    return digit >= '0' && digit <= '7';
}

// White space and backslashes stand there as a backslash and three octal digits.
QByteArray unescaped(const QByteArray& text) {
    QByteArray result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEscape = text.at(i) == '\\' && i + 3 < text.size() &&
                              std::all_of(&text.data()[i + 1], &text.data()[i + 4], isOctal);
        result.append(isEscape ? static_cast<char>(text.mid(i + 1, 3).toInt(nullptr, 8))
                               : text.at(i));
        i += isEscape ? 3 : 0;
    }
    return result;
}

// One on a network or behind another program may never answer.
bool isLocal(const QByteArray& type, const QByteArray& source) {
    static const std::array<QByteArray, 4> withoutDevice = {"tmpfs", "overlay", "zfs", "bcachefs"};
    return std::ranges::find(withoutDevice, type) != withoutDevice.end() ||
           (source.startsWith("/dev/") && !type.startsWith("fuse"));
}

std::string_view viewOf(const QByteArray& bytes) {
    return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

}  // namespace

MountTable MountTable::current() {
    return MountTable(wholeFile("/proc/self/mountinfo"));
}

MountTable::MountTable(const QByteArray& mountinfo) {
    for (const QByteArray& line : mountinfo.split('\n')) {
        add(line);
    }
}

// number, parent, device, root, mount point, options, optional fields, "-", type, source, options
void MountTable::add(const QByteArray& line) {
    const QList<QByteArray> fields = line.split(' ');
    const qsizetype separator = fields.indexOf("-", 6);
    if (separator < 0 || separator + 2 >= fields.size()) {
        return;
    }
    Mount mount;
    mount.point = unescaped(fields[4]);
    mount.type = fields[separator + 1];
    mount.isLocal = isLocal(mount.type, fields[separator + 2]);
    mount.isWhole = fields[3] == "/";
    points_.emplace(viewOf(mount.point));
    names_.emplace(viewOf(FileUrl(mount.point).lastPathComponent()));
    hasAutomounts_ |= mount.type == "autofs";
    mounts_.push_back(std::move(mount));
}

bool MountTable::isWaitingForMount(const QByteArray& path) const {
    if (!hasAutomounts_) {
        return false;
    }
    const Mount* deepest = nullptr;
    for (const Mount& mount : mounts_) {
        if (inside(path, mount.point) &&
            (!deepest || mount.point.size() >= deepest->point.size())) {
            deepest = &mount;
        }
    }
    return deepest && deepest->type == "autofs";
}

bool MountTable::isMountPoint(std::string_view path) const {
    return points_.contains(path);
}

QList<QByteArray> MountTable::placesOf(uint64_t fileSystem) const {
    QList<QByteArray> places;
    for (const Mount& mount : mounts_) {
        if (!mount.isLocal) {
            continue;
        }
        const auto facts = fileSystemAt(mount.point);
        if (facts && facts->id == fileSystem) {
            places.insert(mount.isWhole ? 0 : places.size(), mount.point);
        }
    }
    return places;
}

}  // namespace halvenor
