// The records' JSON text: docs/stores.md tells its form.
#include "base/Json.h"
#include "base/JsonReader.h"
#include "relocation/RelocationStore.h"

namespace halvenor {

namespace {

// A relative path that is not UTF-8 can't be a key. This mark, which begins no relative path, and
// its bytes in base64 stand for it.
constexpr char bytesMark = '/';

void appendKey(QByteArray& json, const QByteArray& relativePath) {
    if (relativePath.isValidUtf8()) {
        appendJsonString(json, relativePath);
    } else {
        appendJsonString(json, bytesMark + relativePath.toBase64());
    }
}

// Appends a comma where something stands before.
void separate(QByteArray& json, char opening) {
    if (!json.endsWith(opening)) {
        json.append(',');
    }
}

void appendChildren(QByteArray& json, const QList<QByteArray>& names) {
    json.append('[');
    for (const QByteArray& name : names) {
        separate(json, '[');
        appendJsonPath(json, name);
    }
    json.append(']');
}

void appendWitnesses(QByteArray& json, const QMap<QByteArray, QByteArray>& witnesses) {
    json.append('{');
    for (auto witness = witnesses.begin(); witness != witnesses.end(); ++witness) {
        separate(json, '{');
        appendKey(json, witness.key());
        json.append(':');
        appendJsonString(json, witness.value());
    }
    json.append('}');
}

void appendRecord(QByteArray& json, const RelocationRecord& record) {
    json.append(R"({"id":)");
    appendJsonString(json, record.id.toByteArray(QUuid::WithoutBraces).toUpper());
    json.append(R"(,"path":)");
    appendJsonPath(json, record.path);
    json.append(record.isDirectory ? R"(,"isDirectory":true)" : R"(,"isDirectory":false)");
    if (record.bookmark) {
        json.append(R"(,"bookmark":)");
        appendJsonBase64(json, *record.bookmark);
    }
    if (record.fingerprint) {
        json.append(R"(,"fingerprint":)");
        appendJsonString(json, *record.fingerprint);
    }
    if (record.children) {
        json.append(R"(,"children":)");
        appendChildren(json, *record.children);
    }
    if (record.modified) {
        json.append(R"(,"modified":)");
        appendJsonNumber(json, *record.modified);
    }
    if (record.witnesses) {
        json.append(R"(,"witnesses":)");
        appendWitnesses(json, *record.witnesses);
    }
    json.append('}');
}

// Reads the text once, from its beginning to its end. Whatever is not as it should be refuses all.
class RecordsReader {
  public:
    explicit RecordsReader(const QByteArray& json) : reader_(json) {}

    RelocationRecords records() {
        RelocationRecords records;
        reader_.beginArray();
        while (reader_.nextElement()) {
            records.append(record());
        }
        reader_.end();
        return records;
    }

  private:
    RelocationRecord record() {
        RelocationRecord record;
        std::optional<QUuid> id;
        std::optional<QByteArray> path;
        std::optional<bool> isDirectory;
        reader_.beginObject();
        while (const auto key = reader_.nextKey()) {
            if (*key == "id") {
                take(id, &RecordsReader::uuid);
            } else if (*key == "path") {
                take(path, &RecordsReader::path);
            } else if (*key == "isDirectory") {
                take(isDirectory, &RecordsReader::boolean);
            } else if (!takeOptional(*key, record)) {
                reader_.skipValue();
            }
        }
        if (!id || !path || !isDirectory) {
            reader_.refuse("A record that lacks its id, path or kind");
        }
        record.id = *id;
        record.path = *path;
        record.isDirectory = *isDirectory;
        return record;
    }

    // Whether the key is one of a record's that may be absent.
    bool takeOptional(QByteArrayView key, RelocationRecord& record) {
        if (key == "bookmark") {
            takeUnlessNull(record.bookmark, &RecordsReader::base64);
        } else if (key == "fingerprint") {
            takeUnlessNull(record.fingerprint, &RecordsReader::string);
        } else if (key == "children") {
            takeUnlessNull(record.children, &RecordsReader::children);
        } else if (key == "modified") {
            takeUnlessNull(record.modified, &RecordsReader::number);
        } else if (key == "witnesses") {
            takeUnlessNull(record.witnesses, &RecordsReader::witnesses);
        } else {
            return false;
        }
        return true;
    }

    template <class T>
    void take(std::optional<T>& member, T (RecordsReader::*read)()) {
        if (member) {
            reader_.refuse("A key that stands twice");
        }
        member = (this->*read)();
    }

    template <class T>
    void takeUnlessNull(std::optional<T>& member, T (RecordsReader::*read)()) {
        if (!reader_.skipNull()) {
            take(member, read);
        }
    }

    template <class T>
    T checked(std::optional<T> value, const char* complaint) {
        if (!value) {
            reader_.refuse(complaint);
        }
        return *std::move(value);
    }

    bool boolean() { return reader_.boolean(); }
    double number() { return reader_.number(); }
    QByteArray string() { return reader_.string().toByteArray(); }
    QByteArray base64() { return checked(bytesFromBase64(string()), "Bad base64"); }

    QUuid uuid() {
        const QByteArray text = string().toLower();
        const QUuid id = QUuid::fromString(QLatin1String(text));
        if (id.toByteArray(QUuid::WithoutBraces) != text) {  // a bad text gives the null UUID
            reader_.refuse("Not a UUID");
        }
        return id;
    }

    QByteArray withoutZero(QByteArray path) {
        if (path.contains('\0')) {
            reader_.refuse("A path with a zero byte");
        }
        return path;
    }

    QByteArray path() {
        if (!reader_.isObject()) {
            return withoutZero(string());
        }
        std::optional<QByteArray> bytes;
        reader_.beginObject();
        while (const auto key = reader_.nextKey()) {
            if (*key != "bytes") {
                reader_.refuse("A path of an unknown form");
            }
            take(bytes, &RecordsReader::base64);
        }
        return withoutZero(checked(bytes, "A path without bytes"));
    }

    QList<QByteArray> children() {
        QList<QByteArray> names;
        reader_.beginArray();
        while (reader_.nextElement()) {
            names.append(path());
        }
        return names;
    }

    QByteArray pathOfKey(QByteArray key) {
        if (key.startsWith(bytesMark)) {
            key = checked(bytesFromBase64(key.mid(1)), "Bad base64");
        }
        return withoutZero(key);
    }

    QMap<QByteArray, QByteArray> witnesses() {
        QMap<QByteArray, QByteArray> witnesses;
        reader_.beginObject();
        while (const auto key = reader_.nextKey()) {
            const QByteArray path = pathOfKey(key->toByteArray());
            if (witnesses.contains(path)) {
                reader_.refuse("A key that stands twice");
            }
            witnesses.insert(path, string());
        }
        return witnesses;
    }

    JsonReader reader_;
};

}  // namespace

QByteArray encodedRecords(const RelocationRecords& records) {
    QByteArray json("[");
    for (const RelocationRecord& record : records) {
        separate(json, '[');
        appendRecord(json, record);
    }
    return json.append(']');
}

RelocationRecords decodedRecords(const QByteArray& json) {
    return RecordsReader(json).records();
}

}  // namespace halvenor
