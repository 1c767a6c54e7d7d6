#include "platform/mediacontrols/linux/MprisMetadata.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace halvenor::mpris {

namespace {

// Tags may hold megabytes, and the bus cuts off who sends too much. Nobody shows more than this.
QString shortened(const QString& text) {
    constexpr qsizetype longest = 4096;
    return text.left(longest);
}

void addList(QVariantMap& map, const QString& key, const QString& text) {
    if (!text.isEmpty()) {
        map.insert(key, QStringList(shortened(text)));
    }
}

}  // namespace

int64_t microseconds(double seconds) {
    // Above this a double has lost the microseconds anyway.
    constexpr double largest = 9e15;
    return std::isnan(seconds) ? 0 : std::llround(std::clamp(seconds * 1e6, 0.0, largest));
}

QDBusObjectPath trackId(const NowPlayingRecord& record) {
    return QDBusObjectPath(QStringLiteral("/org/halvenor/track/%1").arg(record.number));
}

QVariantMap metadata(const NowPlayingRecord& record, const std::optional<FileUrl>& cover) {
    const Track& track = record.track;
    QVariantMap map = {
        {QStringLiteral("mpris:trackid"), QVariant::fromValue(trackId(record))},
        {QStringLiteral("xesam:title"), shortened(track.title())},
        {QStringLiteral("xesam:album"), shortened(track.album())},
        {QStringLiteral("xesam:url"), QString::fromLatin1(track.url().encoded())},
    };
    addList(map, QStringLiteral("xesam:artist"), track.artist());
    addList(map, QStringLiteral("xesam:albumArtist"), track.albumArtist());
    addList(map, QStringLiteral("xesam:genre"), track.genre().value_or(QString()));
    if (record.duration > 0) {
        map.insert(QStringLiteral("mpris:length"),
                   static_cast<qlonglong>(microseconds(record.duration)));
    }
    if (cover) {
        map.insert(QStringLiteral("mpris:artUrl"), QString::fromLatin1(cover->encoded()));
    }
    const auto number = track.trackNumber();
    if (number && *number > 0 && *number <= std::numeric_limits<int>::max()) {
        map.insert(QStringLiteral("xesam:trackNumber"), static_cast<int>(*number));
    }
    // A year alone is a date of ISO 8601, if it has four digits.
    if (const auto year = track.year(); year && *year > 0 && *year <= 9999) {
        map.insert(QStringLiteral("xesam:contentCreated"),
                   QStringLiteral("%1").arg(*year, 4, 10, QLatin1Char('0')));
    }
    return map;
}

}  // namespace halvenor::mpris
