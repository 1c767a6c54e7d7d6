#include "model/Track.h"

#include <QSharedData>

#include <algorithm>
#include <cmath>
#include <utility>

namespace halvenor {

namespace {

TrackFields withDefaults(TrackFields fields) {
    if (!fields.title) {
        fields.title = displayText(fields.url.deletingPathExtension().lastPathComponent());
    }
    fields.artist = fields.artist.value_or(QStringLiteral("Unknown Artist"));
    fields.album = fields.album.value_or(QStringLiteral("Unknown Album"));
    fields.albumArtist = fields.albumArtist.value_or(*fields.artist);
    fields.format = fields.format.toUpper();
    return fields;
}

// std::optional has no qHash: a presence byte, then the value.
template <class T>
size_t hashed(const std::optional<T>& value, size_t seed) {
    return value ? qHashMulti(seed, 1, *value) : ::qHash(0, seed);
}

}  // namespace

struct Track::Data : QSharedData, TrackFields {
    Data() : TrackFields(withDefaults({})) {}
    explicit Data(TrackFields fields) : TrackFields(withDefaults(std::move(fields))) {}
};

Track::Track() {
    // Containers make many empty records; they share one.
    static const QSharedDataPointer<Data> empty(new Data);
    data_ = empty;
}

Track::Track(TrackFields fields) : data_(new Data(std::move(fields))) {}
Track::Track(const Track& other) = default;
Track::Track(Track&& other) noexcept = default;
Track& Track::operator=(const Track& other) = default;
Track& Track::operator=(Track&& other) noexcept = default;
Track::~Track() = default;

const QByteArray& Track::id() const {
    return data_->url.path();
}
const FileUrl& Track::url() const {
    return data_->url;
}
const QString& Track::title() const {
    return *data_->title;
}
const QString& Track::artist() const {
    return *data_->artist;
}
const QString& Track::album() const {
    return *data_->album;
}
const QString& Track::albumArtist() const {
    return *data_->albumArtist;
}
std::optional<int64_t> Track::year() const {
    return data_->year;
}
const std::optional<QString>& Track::genre() const {
    return data_->genre;
}
std::optional<int64_t> Track::trackNumber() const {
    return data_->trackNumber;
}
double Track::duration() const {
    return data_->duration;
}
std::optional<int64_t> Track::bitrate() const {
    return data_->bitrate;
}
std::optional<int64_t> Track::sampleRate() const {
    return data_->sampleRate;
}
const QString& Track::format() const {
    return data_->format;
}
int64_t Track::fileSize() const {
    return data_->fileSize;
}
const Artwork& Track::artworkData() const {
    return data_->artworkData;
}

void Track::setTitle(const QString& title) {
    data_->title = title;
}
void Track::setArtist(const QString& artist) {
    data_->artist = artist;
}
void Track::setAlbum(const QString& album) {
    data_->album = album;
}
void Track::setAlbumArtist(const QString& albumArtist) {
    data_->albumArtist = albumArtist;
}
void Track::setYear(std::optional<int64_t> year) {
    data_->year = year;
}
void Track::setGenre(const std::optional<QString>& genre) {
    data_->genre = genre;
}
void Track::setTrackNumber(std::optional<int64_t> trackNumber) {
    data_->trackNumber = trackNumber;
}
void Track::setDuration(double seconds) {
    data_->duration = seconds;
}
void Track::setArtworkData(const Artwork& artwork) {
    data_->artworkData = artwork;
}

Track Track::relocated(const QByteArray& path) const {
    TrackFields fields = *data_;
    fields.url = FileUrl(path);
    return Track(std::move(fields));
}

QString Track::formattedDuration() const {
    if (!std::isfinite(duration()) || duration() <= 0) {
        return QStringLiteral("0:00");
    }
    constexpr double longest = 1e15;  // far beyond any file, well within an integer
    const auto total = static_cast<int64_t>(std::min(duration(), longest));
    return QString::asprintf("%lld:%02lld", static_cast<long long>(total / 60),
                             static_cast<long long>(total % 60));
}

QString Track::formattedFileSize() const {
    constexpr double kilo = 1000;
    const double kilobytes = static_cast<double>(fileSize()) / kilo;
    if (std::round(kilobytes) < kilo) {
        return QString::number(std::round(kilobytes)) + QStringLiteral(" KB");
    }
    const double megabytes = std::round(kilobytes / kilo * 10) / 10;
    return QString::number(megabytes, 'g', 15) + QStringLiteral(" MB");
}

bool operator==(const Track& a, const Track& b) {
    if (a.sharesRecordWith(b)) {
        return true;
    }
    const TrackFields& x = *a.data_;
    const TrackFields& y = *b.data_;
    return x.url == y.url && x.title == y.title && x.artist == y.artist && x.album == y.album &&
           x.albumArtist == y.albumArtist && x.year == y.year && x.genre == y.genre &&
           x.trackNumber == y.trackNumber && x.duration == y.duration && x.bitrate == y.bitrate &&
           x.sampleRate == y.sampleRate && x.format == y.format && x.fileSize == y.fileSize &&
           x.artworkData == y.artworkData;
}

size_t qHash(const Track& track, size_t seed) noexcept {
    const TrackFields& fields = *track.data_;
    seed = qHashMulti(seed, fields.url, *fields.title, *fields.artist, *fields.album,
                      *fields.albumArtist, fields.format, fields.artworkData);
    for (const auto& number :
         {fields.year, fields.trackNumber, fields.bitrate, fields.sampleRate}) {
        seed = hashed(number, seed);
    }
    const double duration = fields.duration == 0 ? 0 : fields.duration;  // -0 hashes as 0
    return qHashMulti(hashed(fields.genre, seed), duration, fields.fileSize);
}

}  // namespace halvenor
