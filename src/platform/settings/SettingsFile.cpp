#include "platform/settings/SettingsFile.h"

#include <cerrno>
#include <sys/stat.h>
#include <utility>

#include "base/AtomicFile.h"
#include "base/Error.h"
#include "base/Json.h"
#include "base/StoreFile.h"

namespace halvenor::settings {

namespace {

Values parsed(const QByteArray& text) {
    Json root = parseJson(text);
    if (!root.is_object()) {
        throw Error(ErrorKind::format, QStringLiteral("Not an object"));
    }
    return std::move(root.get_ref<Values&>());
}

bool isMissing(const FileUrl& file) {
    struct stat status = {};
    return ::lstat(file.path().constData(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

}  // namespace

Contents read(const FileUrl& file) {
    if (isMissing(file)) {
        return {};
    }
    try {
        return {parsed(readFile(file)), false};
    } catch (const std::exception& error) {
        qWarning("The settings in %s can't be read (%s); starting without them",
                 file.path().constData(), error.what());
        return {{}, true};
    }
}

void write(const FileUrl& file, const Values& values) {
    makeFolders(file.deletingLastPathComponent());
    writeFileAtomically(file, QByteArray::fromStdString(Json(values).dump(2) + '\n'));
}

}  // namespace halvenor::settings
