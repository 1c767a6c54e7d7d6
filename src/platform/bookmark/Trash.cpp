#include <algorithm>
#include <string_view>

#include "base/MoveTable.h"
#include "platform/bookmark/Bookmark.h"
#include "platform/userfolders/UserFolders.h"

namespace halvenor {

namespace {

bool isTrashName(std::string_view name) {
    constexpr std::string_view numbered = ".Trash-";
    if (name == ".Trash" || name == ".Trashes") {
        return true;
    }
    // What follows is a user's number.
    const std::string_view number = name.substr(std::min(name.size(), numbered.size()));
    return name.starts_with(numbered) && !number.empty() &&
           std::ranges::all_of(number, [](char c) { return c >= '0' && c <= '9'; });
}

bool hasTrashComponent(std::string_view path) {
    constexpr std::string_view common = "/.Trash";
    for (size_t at = path.find(common); at != path.npos; at = path.find(common, at + 1)) {
        const size_t end = std::min(path.find('/', at + 1), path.size());
        if (isTrashName(path.substr(at + 1, end - at - 1))) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool isInTrash(const FileUrl& url) {
    const QByteArray path = url.standardized().path();
    const FileUrl homeTrash = dataHome().appendingPathComponent("Trash").standardized();
    return hasTrashComponent({path.constData(), static_cast<size_t>(path.size())}) ||
           inside(path, homeTrash.path());
}

}  // namespace halvenor
