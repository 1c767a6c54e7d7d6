#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <nlohmann/json_fwd.hpp>
#include <optional>

/// JSON (RFC 8259) as the stores keep it: compact, keys in the order they were written, "/" as
/// "\/". Reading is the library's; writing is text put together here, since key order and the
/// escaped slash are part of the stores' form and equal values must make equal bytes.
namespace halvenor {

/// Parses a whole text.
/// @throws Error (format) with the byte offset for bad syntax or UTF-8; Error (format) for values
/// nested more than 64 deep, or more than 256 MiB of text
nlohmann::json parseJson(const QByteArray& text);

/// A path: a string, or where its bytes are not UTF-8 an object {"bytes": base64}. Absent for
/// anything else, for a zero byte and for bad base64.
std::optional<QByteArray> pathFromJson(const nlohmann::json& value);

/// A string's bytes. Absent for another kind of value.
std::optional<QByteArray> stringFromJson(const nlohmann::json& value);

/// The bytes that a base64 text (RFC 4648, section 4) stands for. Absent for anything else.
std::optional<QByteArray> bytesFromBase64(const QByteArray& text);

/// The same of a base64 string. Absent for another kind of value too.
std::optional<QByteArray> base64FromJson(const nlohmann::json& value);

/// Appends a string with its quotation marks. `utf8` is valid UTF-8.
void appendJsonString(QByteArray& json, QByteArrayView utf8);

/// Appends what pathFromJson reads.
void appendJsonPath(QByteArray& json, const QByteArray& path);

/// Appends bytes as a base64 string.
void appendJsonBase64(QByteArray& json, const QByteArray& bytes);

/// Appends the shortest digits that read back as the same double. `value` is finite.
void appendJsonNumber(QByteArray& json, double value);

}  // namespace halvenor
