#include "tags/TagReading.h"

#include <charconv>
#include <cmath>

namespace halvenor {

namespace {

// ASCII digits with at most one sign, and nothing else.
std::optional<int64_t> parseDecimal(QStringView text) {
    const QByteArray digits = text.toUtf8();
    const char* begin = digits.constBegin();
    const char* end = digits.constEnd();
    if (digits.startsWith('+')) {
        ++begin;
        if (begin != end && *begin == '-') {
            return std::nullopt;
        }
    }
    int64_t value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

// Spaces of all kinds and tabs, but no line ends.
QStringView trimmedOfSpaces(QStringView text) {
    const auto isSpace = [](QChar c) {
        return c == u'\t' || c.category() == QChar::Separator_Space;
    };
    while (!text.isEmpty() && isSpace(text.front())) {
        text = text.sliced(1);
    }
    while (!text.isEmpty() && isSpace(text.back())) {
        text.chop(1);
    }
    return text;
}

void takeText(const MetadataItem& item, std::optional<QString>& field) {
    if (!item.isUnreadable) {
        field = item.stringValue;
    }
}

void takeYear(const MetadataItem& item, std::optional<int64_t>& year) {
    if (const auto parsed = parseYear(item.stringValue.value_or(QString()))) {
        year = parsed;
    }
}

// The items that all kinds of tags have a word for: the last one decides.
// @return the item with the cover, if any
const MetadataItem* takeCommonItems(const MediaAsset& asset, TrackFields& fields) {
    const MetadataItem* cover = nullptr;
    for (const MetadataItem& item : asset.metadata) {
        if (!item.commonKey) {
            continue;
        }
        switch (*item.commonKey) {
            case CommonKey::title:
                takeText(item, fields.title);
                break;
            case CommonKey::artist:
                takeText(item, fields.artist);
                break;
            case CommonKey::albumName:
                takeText(item, fields.album);
                break;
            case CommonKey::type:
            case CommonKey::subject:
                takeText(item, fields.genre);
                break;
            case CommonKey::creationDate:
                takeYear(item, fields.year);
                break;
            case CommonKey::artwork:
                cover = item.dataValue ? &item : cover;
                break;
        }
    }
    return cover;
}

std::optional<int64_t> trackNumberOfAtom(const MetadataItem& item) {
    if (item.stringValue) {
        return parseTrackNumber(QStringView(*item.stringValue));
    }
    return item.dataValue ? parseTrackNumber(*item.dataValue) : std::nullopt;
}

// The items that have only native names: the first one decides.
void takeNativeItem(const MetadataItem& item, TrackFields& fields) {
    static const uint32_t albumArtistAtom = fourCharCode(u"aART");
    static const uint32_t trackAtom = fourCharCode(u"trkn");
    const auto* frame = std::get_if<QByteArray>(&item.key);
    const auto* atom = std::get_if<uint32_t>(&item.key);
    const bool isAlbumArtist =
        (frame && (*frame == "TPE2" || *frame == "TP2")) || (atom && *atom == albumArtistAtom);
    if (isAlbumArtist && !fields.albumArtist) {
        fields.albumArtist = item.stringValue;
    }
    if (fields.trackNumber) {
        return;
    }
    if (frame && (*frame == "TRCK" || *frame == "TRK") && item.stringValue) {
        fields.trackNumber = parseTrackNumber(QStringView(*item.stringValue));
    } else if (atom && *atom == trackAtom) {
        fields.trackNumber = trackNumberOfAtom(item);
    }
}

// Half away from zero; absent for what no integer holds.
std::optional<int64_t> rounded(double value) {
    return std::abs(value) < 9e18 ? std::optional<int64_t>(std::llround(value)) : std::nullopt;
}

}  // namespace

Track readTrack(const FileUrl& url) {
    return readTrack(MediaAsset::open(url), url);
}

Track readTrack(const MediaAsset& asset, const FileUrl& url) {
    TrackFields fields;
    fields.url = url;
    fields.duration = asset.duration;
    fields.fileSize = asset.fileSize;
    fields.format = displayText(url.pathExtension());
    if (const MetadataItem* cover = takeCommonItems(asset, fields)) {
        fields.artworkData = ArtworkPool::shared().intern(
            cover->dataValue->data(), static_cast<size_t>(cover->dataValue->size()));
    }
    for (const MetadataFormat format : asset.availableMetadataFormats) {
        asset.forEachItem(format,
                          [&fields](const MetadataItem& item) { takeNativeItem(item, fields); });
    }
    const auto details = readAudioFormatDetails(asset, fields.fileSize, fields.duration);
    fields.bitrate = details.bitrate;
    fields.sampleRate = details.sampleRate;
    return Track(std::move(fields));
}

AudioFormatDetails readAudioFormatDetails(const MediaAsset& asset, int64_t fileSize,
                                          double durationSeconds) {
    AudioFormatDetails details;
    if (asset.audioTracks.empty()) {
        return details;
    }
    const AudioTrack& track = asset.audioTracks.front();
    for (const AudioFormatDescription& description : track.formatDescriptions) {
        if (description.sampleRate > 0) {
            details.sampleRate = rounded(description.sampleRate);
        }
    }
    if (track.estimatedDataRate > 0) {
        if (const auto rate = rounded(track.estimatedDataRate)) {
            details.bitrate = *rate / 1000;
        }
    } else if (durationSeconds > 0) {
        details.bitrate = rounded(static_cast<double>(fileSize) * 8 / durationSeconds / 1000.0);
    }
    return details;
}

std::optional<int64_t> parseTrackNumber(QStringView text) {
    const auto pieces = text.split(u'/', Qt::SkipEmptyParts);
    return parseDecimal(trimmedOfSpaces(pieces.isEmpty() ? text : pieces.first()));
}

std::optional<int64_t> parseTrackNumber(QByteArrayView atomData) {
    if (atomData.size() < 4) {
        return std::nullopt;
    }
    const int number = static_cast<uint8_t>(atomData[2]) << 8 | static_cast<uint8_t>(atomData[3]);
    return number == 0 ? std::nullopt : std::optional<int64_t>(number);
}

std::optional<int64_t> parseYear(QStringView date) {
    return parseDecimal(date.first(std::min<qsizetype>(4, date.size())));
}

uint32_t fourCharCode(QStringView text) {
    uint32_t code = 0;
    for (const uint scalar : text.toUcs4()) {
        code = code << 8 | (scalar & 0xff);
    }
    return code;
}

}  // namespace halvenor
