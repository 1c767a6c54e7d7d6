#include "support/ScratchFile.h"

#include <fcntl.h>
#include <string>

#include "base/FileCopy.h"
#include "base/FileDescriptor.h"

namespace halvenor::fuzz {

FileUrl scratchFile(const char* name) {
    static const FileUrl folder = [] {
        const char* const parent = std::getenv("TMPDIR");
        std::string path = std::string(parent == nullptr ? "/dev/shm" : parent) + "/fuzz-XXXXXX";
        require(::mkdtemp(path.data()) != nullptr, "a folder can be made");
        return FileUrl(QByteArray::fromStdString(path));
    }();
    return folder.appendingPathComponent(name);
}

void fill(const FileUrl& file, const QByteArray& contents) {
    const FileDescriptor descriptor(
        ::open(file.path().constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    require(descriptor.isOpen(), "a file can be made");
    writeFully(descriptor.get(), contents);
}

}  // namespace halvenor::fuzz
