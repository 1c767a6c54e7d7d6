// Any bytes as an M3U file: refused with an error, or paths that come back when they are written,
// but for those that no line can hold.
#include "base/Error.h"
#include "playlists/M3U.h"
#include "support/ScratchFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace halvenor;
    const FileUrl folder(QByteArray("/music"));
    try {
        const QList<FileUrl> files = filesFromM3U(fuzz::bytesOf(data, size), folder);
        bool isKept = true;
        for (const FileUrl& file : files) {
            fuzz::require(file.path().startsWith('/'), "paths are absolute");
            // White space at the end of a line is no part of a path.
            const QString text = QString::fromUtf8(file.path());
            isKept = isKept && text.trimmed() == text;
        }
        const QList<FileUrl> again = filesFromM3U(m3uFromFiles(files), folder);
        fuzz::require(!isKept || again == files, "what was written reads as what it was");
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::format, "the form is what is wrong");
    }
    return 0;
}
