#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <nlohmann/json.hpp>
#include <optional>

/// How values stand in the settings file; docs/settings.md describes the forms. Each reader is
/// absent for a value of another form, each writer makes what its reader reads.
namespace halvenor::settings {

/// Objects have their keys in order of bytes.
using Json = nlohmann::json;
/// All values of a store, by their keys.
using Values = Json::object_t;

/// @throws Error (format) for what is not the JSON of one object
Values valuesFromText(const QByteArray& text);
/// The whole text of the file, indented, ending with a newline. Any thread.
QByteArray textFromValues(const Values& values);

std::optional<QString> toString(const Json& value);
std::optional<QByteArray> toPath(const Json& value);
std::optional<QByteArray> toData(const Json& value);
std::optional<QList<QByteArray>> toPaths(const Json& value);
std::optional<QList<QByteArray>> toDataList(const Json& value);
std::optional<QHash<QByteArray, QByteArray>> toDataByPath(const Json& value);

Json fromString(const QString& text);
/// A plain string where the bytes are UTF-8, otherwise {"bytes": base64}.
Json fromPath(const QByteArray& path);
/// {"data": base64}
Json fromData(const QByteArray& data);
Json fromPaths(const QList<QByteArray>& paths);
Json fromDataList(const QList<QByteArray>& list);
/// An array of {"path": path, "data": base64}, in the order of the paths' bytes.
Json fromDataByPath(const QHash<QByteArray, QByteArray>& map);

}  // namespace halvenor::settings
