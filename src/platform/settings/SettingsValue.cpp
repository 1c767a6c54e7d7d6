#include "platform/settings/SettingsValue.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/Error.h"
#include "base/Json.h"

namespace halvenor::settings {

namespace {

constexpr const char* bytesKey = "bytes";
constexpr const char* dataKey = "data";
constexpr const char* pathKey = "path";

Json fromBase64Bytes(const QByteArray& bytes) {
    return bytes.toBase64().toStdString();
}

// The member of an object, or null.
const Json* member(const Json& object, const char* key) {
    if (!object.is_object()) {
        return nullptr;
    }
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

// The bytes of an object that holds nothing else.
std::optional<QByteArray> onlyBytes(const Json& object, const char* key) {
    const Json* const value = object.size() == 1 ? member(object, key) : nullptr;
    return value ? base64FromJson(*value) : std::nullopt;
}

template <class Read>
std::optional<QList<QByteArray>> toList(const Json& array, Read read) {
    if (!array.is_array()) {
        return std::nullopt;
    }
    QList<QByteArray> list;
    for (const Json& element : array) {
        auto value = read(element);
        if (!value) {
            return std::nullopt;
        }
        list.append(std::move(*value));
    }
    return list;
}

template <class Write>
Json fromList(const QList<QByteArray>& list, Write write) {
    Json array = Json::array();
    for (const QByteArray& element : list) {
        array.push_back(write(element));
    }
    return array;
}

}  // namespace

Values valuesFromText(const QByteArray& text) {
    Json root = parseJson(text);
    if (!root.is_object()) {
        throw Error(ErrorKind::format, QStringLiteral("Not an object"));
    }
    return std::move(root.get_ref<Values&>());
}

QByteArray textFromValues(const Values& values) {
    return QByteArray::fromStdString(Json(values).dump(2) + '\n');
}

std::optional<QString> toString(const Json& value) {
    const auto* const text = value.get_ptr<const Json::string_t*>();
    return text ? std::optional(QString::fromStdString(*text)) : std::nullopt;
}

std::optional<QByteArray> toPath(const Json& value) {
    return pathFromJson(value);
}

std::optional<QByteArray> toData(const Json& value) {
    return onlyBytes(value, dataKey);
}

std::optional<QList<QByteArray>> toPaths(const Json& value) {
    return toList(value, toPath);
}

std::optional<QList<QByteArray>> toDataList(const Json& value) {
    return toList(value, toData);
}

std::optional<QHash<QByteArray, QByteArray>> toDataByPath(const Json& value) {
    if (!value.is_array()) {
        return std::nullopt;
    }
    QHash<QByteArray, QByteArray> map;
    for (const Json& element : value) {
        const Json* const key = member(element, pathKey);
        const Json* const bytes = member(element, dataKey);
        const auto path = key ? toPath(*key) : std::nullopt;
        const auto data = bytes ? base64FromJson(*bytes) : std::nullopt;
        if (!path || !data) {
            return std::nullopt;
        }
        map.insert(*path, *data);
    }
    return map;
}

Json fromString(const QString& text) {
    return text.toStdString();
}

Json fromPath(const QByteArray& path) {
    if (path.isValidUtf8()) {
        return path.toStdString();
    }
    Json object = Json::object();
    object[bytesKey] = fromBase64Bytes(path);
    return object;
}

Json fromData(const QByteArray& data) {
    Json object = Json::object();
    object[dataKey] = fromBase64Bytes(data);
    return object;
}

Json fromPaths(const QList<QByteArray>& paths) {
    return fromList(paths, fromPath);
}

Json fromDataList(const QList<QByteArray>& list) {
    return fromList(list, fromData);
}

Json fromDataByPath(const QHash<QByteArray, QByteArray>& map) {
    QList<QByteArray> paths = map.keys();
    std::ranges::sort(paths);
    Json array = Json::array();
    for (const QByteArray& path : paths) {
        Json entry = Json::object();
        entry[pathKey] = fromPath(path);
        entry[dataKey] = fromBase64Bytes(map.value(path));
        array.push_back(std::move(entry));
    }
    return array;
}

}  // namespace halvenor::settings
