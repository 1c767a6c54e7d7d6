#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "base/FileUrl.h"

/// What the fuzz targets share. A target is one function, LLVMFuzzerTestOneInput; a property that
/// does not hold ends the process, which libFuzzer reports with the input that led there.
namespace halvenor::fuzz {

/// Ends the process, with what went wrong, unless `holds`.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/// The input as bytes that stay the fuzzer's.
inline QByteArray bytesOf(const uint8_t* data, size_t size) {
    return QByteArray::fromRawData(reinterpret_cast<const char*>(data),
                                   static_cast<qsizetype>(size));
}

/// A file of this name in a folder of the process's own, below TMPDIR (fuzz/run gives one in
/// memory, and removes it).
FileUrl scratchFile(const char* name);

/// Makes the file hold `contents`.
void fill(const FileUrl& file, const QByteArray& contents);

}  // namespace halvenor::fuzz
