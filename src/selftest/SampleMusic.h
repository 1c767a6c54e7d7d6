#pragma once

#include <QList>

#include <span>
#include <string_view>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {

/// A folder of the sample music: one signal cut into tracks of several formats.
struct SampleFolder {
    QByteArray name;
    std::vector<std::string_view> extensions;  ///< one track for each, in this order

    qsizetype trackCount() const { return static_cast<qsizetype>(extensions.size()); }
};

/// The folders that writeSampleMusic makes, in the order of their names.
std::span<const SampleFolder> sampleFolders();

/// Writes the sample folders below `music`: tones that go on across the cuts, tagged.
/// @return the files' paths relative to `music`
/// @throws Error when a file can't be written or encoded
QList<QByteArray> writeSampleMusic(const FileUrl& music);

}  // namespace halvenor
