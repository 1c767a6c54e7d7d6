#include "base/Json.h"

#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "base/Error.h"

namespace halvenor {

namespace {

using Json = nlohmann::json;

// Our own values nest three deep. The library writes, compares and destroys values recursively, so
// what is far deeper must not get in.
constexpr int deepestNesting = 64;
constexpr qsizetype longestText = 256 << 20;

[[noreturn]] void refuse(const char* why) {
    throw Error(ErrorKind::format, QString::fromLatin1(why));
}

// The letter that stands for `byte` after a backslash; 0 for a byte that stands as it is.
char shortEscape(char byte) {
    switch (byte) {
        case '"':
        case '\\':
        case '/':
            return byte;
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        default:
            return 0;
    }
}

}  // namespace

nlohmann::json parseJson(const QByteArray& text) {
    if (text.size() > longestText) {
        refuse("The file is too large");
    }
    const auto refuseDepth = [](int depth, Json::parse_event_t, Json&) {
        if (depth > deepestNesting) {
            refuse("The values are nested too deeply");
        }
        return true;
    };
    try {
        return Json::parse(text.begin(), text.end(), refuseDepth);
    } catch (const Json::parse_error& error) {
        throw Error(ErrorKind::format, QStringLiteral("Not JSON"),
                    static_cast<int64_t>(error.byte));
    }
}

std::optional<QByteArray> stringFromJson(const nlohmann::json& value) {
    const auto* const text = value.get_ptr<const Json::string_t*>();
    return text ? std::optional(QByteArray::fromStdString(*text)) : std::nullopt;
}

std::optional<QByteArray> base64FromJson(const nlohmann::json& value) {
    const auto text = stringFromJson(value);
    if (!text) {
        return std::nullopt;
    }
    auto decoded = QByteArray::fromBase64Encoding(*text, QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional(std::move(*decoded)) : std::nullopt;
}

std::optional<QByteArray> pathFromJson(const nlohmann::json& value) {
    std::optional<QByteArray> path;
    if (value.is_object()) {
        const auto bytes = value.find("bytes");
        if (bytes != value.end() && value.size() == 1) {
            path = base64FromJson(*bytes);
        }
    } else {
        path = stringFromJson(value);
    }
    return path && !path->contains('\0') ? path : std::nullopt;
}

void appendJsonString(QByteArray& json, QByteArrayView utf8) {
    json.append('"');
    for (const char byte : utf8) {
        if (const char letter = shortEscape(byte)) {
            json.append('\\').append(letter);
        } else if (static_cast<unsigned char>(byte) < 0x20) {
            constexpr const char* digits = "0123456789abcdef";
            json.append("\\u00").append(digits[byte >> 4]).append(digits[byte & 15]);
        } else {
            json.append(byte);
        }
    }
    json.append('"');
}

void appendJsonPath(QByteArray& json, const QByteArray& path) {
    if (path.isValidUtf8()) {
        appendJsonString(json, path);
    } else {
        json.append("{\"bytes\":");
        appendJsonBase64(json, path);
        json.append('}');
    }
}

void appendJsonBase64(QByteArray& json, const QByteArray& bytes) {
    appendJsonString(json, bytes.toBase64());
}

void appendJsonNumber(QByteArray& json, double value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    json.append(digits.data(), end - digits.data());
}

}  // namespace halvenor
