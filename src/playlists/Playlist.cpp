#include "playlists/Playlist.h"

#include <QStringDecoder>

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/Json.h"
#include "base/JsonReader.h"

namespace halvenor {

namespace {

// Keeps a byte order mark at the beginning, which QString::fromUtf8 takes off.
QString textFrom(QByteArrayView utf8) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder(utf8);
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The canonical 36 characters alone, of either case; QUuid itself takes more.
bool isCanonicalUuid(QByteArrayView text) {
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return std::ranges::equal(text, form,
                              [](char c, char f) { return f == 'x' ? isHexDigit(c) : c == f; });
}

QUuid uuidFrom(JsonReader& json) {
    const QByteArrayView text = json.string();
    if (!isCanonicalUuid(text)) {
        json.refuse("An id that is no UUID");
    }
    return QUuid::fromString(QLatin1StringView(text));
}

QList<FileUrl> urlsFrom(JsonReader& json) {
    QList<FileUrl> urls;
    json.beginArray();
    while (json.nextElement()) {
        auto url = FileUrl::fromEncoded(json.string());
        if (!url) {
            json.refuse("An entry that is no file URL");
        }
        urls.append(*std::move(url));
    }
    return urls;
}

Playlist playlistFrom(JsonReader& json) {
    Playlist playlist;
    bool hasId = false;
    bool hasName = false;
    bool hasUrls = false;
    json.beginObject();
    while (const auto key = json.nextKey()) {
        if (*key == "id") {
            playlist.id = uuidFrom(json);
            hasId = true;
        } else if (*key == "name") {
            playlist.name = textFrom(json.string());
            hasName = true;
        } else if (*key == "trackURLs") {
            playlist.trackURLs = urlsFrom(json);
            hasUrls = true;
        } else {
            json.skipValue();
        }
    }
    if (!hasId || !hasName || !hasUrls) {
        json.refuse("A playlist that lacks a key");
    }
    return playlist;
}

void append(QByteArray& json, const Playlist& playlist) {
    json.append("{\"id\":");
    appendJsonString(json, playlist.id.toByteArray(QUuid::WithoutBraces).toUpper());
    json.append(",\"name\":");
    // Half of a surrogate pair, which no UTF-8 can hold, becomes a question mark.
    appendJsonString(json, playlist.name.toUtf8());
    json.append(",\"trackURLs\":[");
    const char* separator = "";
    for (const FileUrl& url : playlist.trackURLs) {
        json.append(std::exchange(separator, ","));
        appendJsonString(json, url.encoded());
    }
    json.append("]}");
}

}  // namespace

size_t qHash(const Playlist& playlist, size_t seed) noexcept {
    return qHashMulti(seed, playlist.id, playlist.name, playlist.trackURLs);
}

QByteArray encodedPlaylists(const Playlists& playlists) {
    QByteArray json = "[";
    const char* separator = "";
    for (const Playlist& playlist : playlists) {
        json.append(std::exchange(separator, ","));
        append(json, playlist);
    }
    return json.append(']');
}

Playlists decodedPlaylists(const QByteArray& json) {
    JsonReader reader(json);
    Playlists playlists;
    reader.beginArray();
    while (reader.nextElement()) {
        playlists.append(playlistFrom(reader));
    }
    reader.end();
    return playlists;
}

}  // namespace halvenor
