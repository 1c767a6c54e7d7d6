#pragma once

#include <QDBusObjectPath>
#include <QVariantMap>

#include <cstdint>
#include <optional>

#include "base/FileUrl.h"
#include "platform/mediacontrols/NowPlayingModel.h"

/// Values as MPRIS has them (https://specifications.freedesktop.org/mpris-spec/2.2). Any thread.
namespace halvenor::mpris {

/// Seconds as microseconds, for lengths and positions: 0 for what is negative or no number.
int64_t microseconds(double seconds);

/// The object path that stands for the track of one record.
QDBusObjectPath trackId(const NowPlayingRecord& record);

/// The Metadata property: trackid, length, artUrl, and of the xesam ontology what the track has.
/// @param cover the file of its cover
QVariantMap metadata(const NowPlayingRecord& record, const std::optional<FileUrl>& cover);

}  // namespace halvenor::mpris
