#include "ui/tracklist/AlbumSummary.h"

#include <QSet>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace halvenor {

namespace {

QString multi() {
    return QStringLiteral("Multi");
}

QString kilobits(int64_t bitrate) {
    return QStringLiteral("%1 kbps").arg(bitrate);
}

std::optional<int64_t> atLeastOne(std::optional<int64_t> value) {
    return value && *value >= 1 ? value : std::nullopt;
}

// The different values seen so far. Nothing asks for more than whether there are several.
template <class T>
class Variety {
  public:
    void add(const T& value) {
        if (!first_) {
            first_ = value;
        } else if (value != *first_) {
            isMany_ = true;
        }
    }
    bool isNone() const { return !first_; }
    bool isMany() const { return isMany_; }
    bool isOne() const { return first_ && !isMany_; }
    const T& one() const { return *first_; }

  private:
    std::optional<T> first_;
    bool isMany_ = false;
};

QString describeFormat(const Variety<QString>& formats, const Variety<int64_t>& bitrates) {
    if (formats.isNone()) {
        return {};
    }
    if (formats.isMany()) {
        return multi();
    }
    if (isLosslessFormat(formats.one()) || !bitrates.isOne()) {
        return formats.one();
    }
    return formats.one() + QLatin1Char(' ') + kilobits(bitrates.one());
}

QString describeYears(const Variety<int64_t>& years) {
    if (years.isMany()) {
        return multi();
    }
    return years.isOne() ? QString::number(years.one()) : QString();
}

}  // namespace

AlbumSummary summarizeAlbum(const TrackList& tracks, const std::optional<QString>& folderName) {
    AlbumSummary summary;
    Variety<QString> formats;
    Variety<int64_t> bitrates;
    Variety<int64_t> years;
    // Neighbours mostly share these texts, and then comparing them is all there is to do.
    QString lastFormat;
    QString lastAlbum;
    for (const Track& track : tracks) {
        summary.duration += track.duration();
        if (const auto year = atLeastOne(track.year())) {
            years.add(*year);
        }
        if (const auto bitrate = atLeastOne(track.bitrate())) {
            bitrates.add(*bitrate);
        }
        if (track.format() != lastFormat) {
            lastFormat = track.format();
            const QString format = lastFormat.trimmed().toUpper();
            if (!format.isEmpty()) {
                formats.add(format);
            }
        }
        if (summary.title.isEmpty() && track.album() != lastAlbum) {
            lastAlbum = track.album();
            const QString album = lastAlbum.trimmed();
            if (!album.isEmpty() && album != QLatin1String("Unknown Album")) {
                summary.title = album;
            }
        }
    }
    if (!tracks.isEmpty()) {
        summary.artist = tracks.first().albumArtist();
        summary.artwork = tracks.first().artworkData();
    }
    if (summary.title.isEmpty()) {
        summary.title = folderName.value_or(tracks.isEmpty() ? QString() : tracks.first().album());
    }
    summary.years = describeYears(years);
    summary.formatDescription = describeFormat(formats, bitrates);
    return summary;
}

bool isLosslessFormat(const QString& format) {
    return format == QLatin1String("FLAC") || format == QLatin1String("AIFF") ||
           format == QLatin1String("WAV");
}

QString trackFormatDescription(const Track& track) {
    const auto bitrate = atLeastOne(track.bitrate());
    if (isLosslessFormat(track.format()) || !bitrate) {
        return track.format();
    }
    return track.format() + QStringLiteral(" / ") + kilobits(*bitrate);
}

QString formatAlbumDuration(double seconds) {
    constexpr double limit = 9e15;  // past any whole number of seconds that an integer holds
    if (!std::isfinite(seconds) || std::abs(seconds) > limit) {
        return QStringLiteral("0:00");
    }
    const auto total = static_cast<int64_t>(seconds);
    const auto twoDigits = [](int64_t value) {
        return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
    };
    if (total < 3600) {
        return QStringLiteral("%1:%2").arg(total / 60).arg(twoDigits(total % 60));
    }
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg(twoDigits(total / 60 % 60), twoDigits(total % 60));
}

QSizeF coverDisplaySize(const QSize& natural, const std::optional<QSize>& visibleScreen) {
    const QSizeF limit = visibleScreen
                             ? QSizeF(visibleScreen->width() * 0.88, visibleScreen->height() * 0.84)
                             : QSizeF(1056, 672);
    const QSizeF image = natural.isEmpty() ? QSizeF(600, 600) : QSizeF(natural);
    const double scale =
        std::min({limit.width() / image.width(), limit.height() / image.height(), 1.0});
    return image * scale;
}

}  // namespace halvenor
