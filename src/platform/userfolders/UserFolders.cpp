#include "platform/userfolders/UserFolders.h"

#include <QtGlobal>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halvenor {

namespace {

QByteArray homeFolder() {
    const QByteArray home = qgetenv("HOME");
    if (!home.isEmpty()) {
        return home;
    }
    const passwd* const user = ::getpwuid(::getuid());
    return user ? QByteArray(user->pw_dir) : QByteArray("/");
}

FileUrl folderFrom(const char* variable, const QByteArray& belowHome) {
    const QByteArray configured = qgetenv(variable);
    return configured.startsWith('/') ? FileUrl(configured)
                                      : FileUrl(homeFolder()).appendingPathComponent(belowHome);
}

}  // namespace

FileUrl configurationHome() {
    return folderFrom("XDG_CONFIG_HOME", ".config");
}

FileUrl dataHome() {
    return folderFrom("XDG_DATA_HOME", ".local/share");
}

FileUrl cacheHome() {
    return folderFrom("XDG_CACHE_HOME", ".cache");
}

std::optional<FileUrl> runtimeHome() {
    const QByteArray configured = qgetenv("XDG_RUNTIME_DIR");
    struct stat status = {};
    const bool isPrivate = configured.startsWith('/') &&
                           ::stat(configured.constData(), &status) == 0 &&
                           S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
                           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return isPrivate ? std::optional(FileUrl(configured)) : std::nullopt;
}

}  // namespace halvenor
