#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>

#include <optional>
#include <stop_token>

#include "base/FileUrl.h"

/// What a folder is known again by.
namespace halvenor {

/// The names of what a folder holds, in order of bytes, hidden ones (a leading dot) left out.
/// Absent when it can't be listed to its end. Any thread.
std::optional<QList<QByteArray>> childrenAt(const FileUrl& folder);

/// The first three audio files below a folder that can be read: from path relative to it to
/// fingerprint. They are looked for in depth, in order of bytes within each folder, hidden entries
/// and links left out, among the first 256 entries of any kind; so equal trees have equal
/// witnesses. A folder that can't be listed is passed over. Any thread.
QMap<QByteArray, QByteArray> witnessesIn(const FileUrl& folder, const std::stop_token& token = {});

}  // namespace halvenor
