#pragma once

#include <QSharedDataPointer>
#include <QString>

#include <cstdint>
#include <optional>

#include "base/FileUrl.h"
#include "model/Artwork.h"

namespace halvenor {

/// What a Track is made from. Absent texts take the defaults that Track's constructor names; an
/// empty text is a value and stays.
struct TrackFields {
    FileUrl url;
    std::optional<QString> title;
    std::optional<QString> artist;
    std::optional<QString> album;
    std::optional<QString> albumArtist;
    std::optional<int64_t> year;
    std::optional<QString> genre;
    std::optional<int64_t> trackNumber;
    double duration = 0;                ///< seconds; 0 until tags have been read
    std::optional<int64_t> bitrate;     ///< kilobits per second
    std::optional<int64_t> sampleRate;  ///< hertz
    QString format;
    int64_t fileSize = 0;  ///< bytes; 0 when unknown
    Artwork artworkData;
};

/// One audio file and what is known of it: a plain value, cheap to copy (shared until changed).
///
/// A track is identified by `id`, the path bytes of its URL exactly as they were handed in.
/// Equality is of the whole record: two records of one file differ once the tags of one have been
/// read. Code that looks for the same track compares ids.
class Track {
  public:
    /// An empty record with an empty id, for containers.
    Track();
    /// Absent title: the file's name without its extension. Absent artist and album: "Unknown
    /// Artist" and "Unknown Album". Absent album artist: the artist as just settled. The format is
    /// stored in upper case.
    explicit Track(TrackFields fields);
    Track(const Track& other);
    Track(Track&& other) noexcept;
    Track& operator=(const Track& other);
    Track& operator=(Track&& other) noexcept;
    ~Track();

    const QByteArray& id() const;
    const FileUrl& url() const;
    const QString& title() const;
    const QString& artist() const;
    const QString& album() const;
    const QString& albumArtist() const;
    std::optional<int64_t> year() const;
    const std::optional<QString>& genre() const;
    std::optional<int64_t> trackNumber() const;
    double duration() const;
    std::optional<int64_t> bitrate() const;
    std::optional<int64_t> sampleRate() const;
    const QString& format() const;
    int64_t fileSize() const;
    const Artwork& artworkData() const;

    void setTitle(const QString& title);
    void setArtist(const QString& artist);
    void setAlbum(const QString& album);
    void setAlbumArtist(const QString& albumArtist);
    void setYear(std::optional<int64_t> year);
    void setGenre(const std::optional<QString>& genre);
    void setTrackNumber(std::optional<int64_t> trackNumber);
    void setDuration(double seconds);
    void setArtworkData(const Artwork& artwork);

    /// The same record for another path: URL and id are made from it, all else stays as it is,
    /// title and album included.
    Track relocated(const QByteArray& path) const;

    /// Minutes and seconds, "62:05", without hours; "0:00" for what is not a finite number above 0.
    QString formattedDuration() const;
    /// The file's size in KB or MB (of a thousand), "640 KB", "3.4 MB".
    QString formattedFileSize() const;

    /// Whether both are one shared record: a fast test that holds only for equal tracks.
    bool sharesRecordWith(const Track& other) const { return data_ == other.data_; }

    friend bool operator==(const Track& a, const Track& b);
    friend size_t qHash(const Track& track, size_t seed) noexcept;

  private:
    struct Data;
    QSharedDataPointer<Data> data_;
};

size_t qHash(const Track& track, size_t seed = 0) noexcept;

}  // namespace halvenor
