#include "base/Json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"

namespace halvenor {

namespace {

using Json = nlohmann::json;

// Our own values nest four deep. The library writes, compares and destroys values recursively, so
// what is far deeper must not get in.
constexpr size_t deepestNesting = 64;
constexpr qsizetype longestText = 256 << 20;

[[noreturn]] void refuse(const char* why) {
    throw Error(ErrorKind::format, QString::fromLatin1(why));
}

// Puts together what the parser meets. The library's own way of limiting the depth looks through
// all elements before it at each new one.
class Builder final : public nlohmann::json_sax<Json> {
  public:
    Json takeRoot() { return std::move(root_); }

    bool null() override { return addWhole(nullptr); }
    bool boolean(bool value) override { return addWhole(value); }
    bool number_integer(int64_t value) override { return addWhole(value); }
    bool number_unsigned(uint64_t value) override { return addWhole(value); }
    bool number_float(double value, const std::string& /*text*/) override {
        return addWhole(value);
    }
    bool string(std::string& value) override { return addWhole(std::move(value)); }
    bool binary(Json::binary_t& value) override { return addWhole(std::move(value)); }
    bool start_object(size_t /*count*/) override { return open(Json::object()); }
    bool end_object() override { return close(); }
    bool start_array(size_t /*count*/) override { return open(Json::array()); }
    bool end_array() override { return close(); }
    bool key(std::string& value) override {
        key_ = std::move(value);
        return true;
    }
    bool parse_error(size_t position, const std::string& /*token*/,
                     const nlohmann::detail::exception& /*error*/) override {
        throw Error(ErrorKind::format, QStringLiteral("Not JSON"), static_cast<int64_t>(position));
    }

  private:
    Json& add(Json value) {
        if (open_.empty()) {
            return root_ = std::move(value);
        }
        Json& parent = *open_.back();
        if (parent.is_array()) {
            return parent.get_ref<Json::array_t&>().emplace_back(std::move(value));
        }
        return parent[key_] = std::move(value);
    }

    bool addWhole(Json value) {
        add(std::move(value));
        return true;
    }

    bool open(Json empty) {
        if (open_.size() == deepestNesting) {
            refuse("The values are nested too deeply");
        }
        open_.push_back(&add(std::move(empty)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    Json root_;
    std::vector<Json*> open_;  // from the root down; what is open stays the last of its parent
    std::string key_;
};

// What follows the backslash of each byte that does not stand as it is: a letter, 'u' for the four
// digits of its number.
constexpr std::array<char, 256> escapes = [] {
    std::array<char, 256> made{};
    std::fill_n(made.begin(), 0x20, 'u');
    made['\b'] = 'b';
    made['\f'] = 'f';
    made['\n'] = 'n';
    made['\r'] = 'r';
    made['\t'] = 't';
    for (const unsigned char itself : {'"', '\\', '/'}) {
        made[itself] = static_cast<char>(itself);
    }
    return made;
}();

}  // namespace

nlohmann::json parseJson(const QByteArray& text) {
    if (text.size() > longestText) {
        refuse("The file is too large");
    }
    Builder builder;
    Json::sax_parse(text.begin(), text.end(), &builder);
    return builder.takeRoot();
}

std::optional<QByteArray> stringFromJson(const nlohmann::json& value) {
    const auto* const text = value.get_ptr<const Json::string_t*>();
    return text ? std::optional(QByteArray::fromStdString(*text)) : std::nullopt;
}

std::optional<QByteArray> bytesFromBase64(const QByteArray& text) {
    if (text.size() % 4 != 0) {  // Qt takes it without its padding too.
        return std::nullopt;
    }
    auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    return decoded ? std::optional(std::move(*decoded)) : std::nullopt;
}

std::optional<QByteArray> base64FromJson(const nlohmann::json& value) {
    const auto text = stringFromJson(value);
    return text ? bytesFromBase64(*text) : std::nullopt;
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
    const char* plain = utf8.begin();
    for (const char* byte = utf8.begin(); byte != utf8.end(); ++byte) {
        const char letter = escapes[static_cast<unsigned char>(*byte)];
        if (letter == 0) {
            continue;
        }
        json.append(plain, byte - plain).append('\\').append(letter);
        if (letter == 'u') {
            constexpr const char* digits = "0123456789abcdef";
            json.append("00").append(digits[*byte >> 4]).append(digits[*byte & 15]);
        }
        plain = byte + 1;
    }
    json.append(plain, utf8.end() - plain).append('"');
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
