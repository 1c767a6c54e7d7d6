#include "discogs/DiscogsAnswers.h"

#include <map>
#include <string_view>

#include "base/JsonReader.h"

namespace halvenor {

namespace {

using TextByKey = std::map<std::string_view, std::optional<QString>&>;

// Reads an object's texts; those of other keys may be values of any kind.
void readTexts(JsonReader& reader, const TextByKey& texts) {
    reader.beginObject();
    while (const auto key = reader.nextKey()) {
        const auto text = texts.find({key->data(), static_cast<size_t>(key->size())});
        if (text == texts.end()) {
            reader.skipValue();
        } else if (reader.skipNull()) {
            text->second.reset();
        } else {
            text->second = QString::fromUtf8(reader.string());
        }
    }
}

SearchResult readSearchResult(JsonReader& reader) {
    SearchResult result;
    std::optional<QString> title;
    readTexts(reader, {{"title", title},
                       {"cover_image", result.coverImage},
                       {"resource_url", result.resourceUrl}});
    if (!title) {
        reader.refuse("A search result without a title");
    }
    result.title = *title;
    return result;
}

ReleaseImage readReleaseImage(JsonReader& reader) {
    ReleaseImage image;
    std::optional<QString> type;
    readTexts(reader, {{"type", type},
                       {"uri", image.uri},
                       {"resource_url", image.resourceUrl},
                       {"uri150", image.uri150}});
    if (!type) {
        reader.refuse("An image without a type");
    }
    image.type = *type;
    return image;
}

// The array under `key` in the object that the text is; absent where there is no such key.
template <class Record>
std::optional<QList<Record>> readRecords(const QByteArray& json, QByteArrayView wantedKey,
                                         Record (*read)(JsonReader&), qsizetype most) {
    JsonReader reader(json);
    std::optional<QList<Record>> records;
    reader.beginObject();
    while (const auto key = reader.nextKey()) {
        if (*key != wantedKey) {
            reader.skipValue();
            continue;
        }
        records.reset();
        if (reader.skipNull()) {
            continue;
        }
        records.emplace();
        reader.beginArray();
        while (reader.nextElement()) {
            Record record = read(reader);
            if (records->size() < most) {
                records->append(std::move(record));
            }
        }
    }
    reader.end();
    return records;
}

}  // namespace

QList<SearchResult> parseSearchAnswer(const QByteArray& json) {
    const auto results = readRecords(json, "results", readSearchResult, mostSearchResults);
    if (!results) {
        JsonReader(json).refuse("An answer without results");
    }
    return *results;
}

QList<ReleaseImage> parseReleaseAnswer(const QByteArray& json) {
    return readRecords(json, "images", readReleaseImage, mostReleaseImages)
        .value_or(QList<ReleaseImage>());
}

}  // namespace halvenor
