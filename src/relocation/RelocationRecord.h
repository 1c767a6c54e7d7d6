#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QUuid>

#include <optional>

namespace halvenor {

/// What is remembered of one file or folder that the library refers to, so that it is known again
/// when it has moved. A plain value.
struct RelocationRecord {
    /// Made once. Records are found by path, not by id.
    QUuid id;
    /// Where the library believes it to be: absolute, standardised.
    QByteArray path;
    bool isDirectory = false;
    /// Absent while nothing was there to be remembered.
    std::optional<QByteArray> bookmark;
    /// Of a file that could be read: see fingerprint().
    std::optional<QByteArray> fingerprint;
    /// Of a folder that could be listed: the names of what it holds, hidden ones left out, in
    /// order of bytes.
    std::optional<QList<QByteArray>> children;
    /// Seconds since 2001-01-01 00:00 UTC. Of a file: its modification when last looked at. Of a
    /// folder: when its witnesses were taken.
    std::optional<double> modified;
    /// Of a folder: at most 3 audio files in it, from path relative to it to fingerprint.
    std::optional<QMap<QByteArray, QByteArray>> witnesses;

    friend bool operator==(const RelocationRecord&, const RelocationRecord&) = default;
};

/// Shared until changed: handing one to another thread copies nothing.
using RelocationRecords = QList<RelocationRecord>;

}  // namespace halvenor
