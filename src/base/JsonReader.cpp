#include "base/JsonReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "base/Error.h"

namespace halvenor {

namespace {

constexpr int deepestNesting = 64;

// The bytes that end a run of plain ones inside a string.
constexpr std::array<bool, 256> isSpecial = [] {
    std::array<bool, 256> made{};
    std::fill_n(made.begin(), 0x20, true);
    made['"'] = true;
    made['\\'] = true;
    return made;
}();

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void appendUtf8(QByteArray& text, char32_t codePoint) {
    const auto append = [&text](char32_t byte) { text.append(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        append(codePoint);
        return;
    }
    if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
    } else {
        if (codePoint < 0x10000) {
            append(0xE0 | codePoint >> 12);
        } else {
            append(0xF0 | codePoint >> 18);
            append(0x80 | (codePoint >> 12 & 0x3F));
        }
        append(0x80 | (codePoint >> 6 & 0x3F));
    }
    append(0x80 | (codePoint & 0x3F));
}

}  // namespace

JsonReader::JsonReader(QByteArray text) : text_(std::move(text)) {
    if (!text_.isValidUtf8()) {
        refuse("Text that is not UTF-8");
    }
    offset_ = text_.startsWith("\xEF\xBB\xBF") ? 3 : 0;
}

void JsonReader::refuse(const char* why) const {
    throw Error(ErrorKind::format, QString::fromLatin1(why), offset_);
}

// The first byte of what comes next; zero at the end.
char JsonReader::peek() {
    for (char c = at(offset_); c == ' ' || c == '\n' || c == '\r' || c == '\t'; c = at(offset_)) {
        ++offset_;
    }
    return at(offset_);
}

void JsonReader::expect(char wanted) {
    if (peek() != wanted) {
        refuse("Another value or sign than should be here");
    }
    ++offset_;
}

void JsonReader::begin(char bracket) {
    expect(bracket);
    if (++depth_ > deepestNesting) {
        refuse("The values are nested too deeply");
    }
    isFirst_ = true;
}

// Whether another piece stands there, or the end of the array or object.
bool JsonReader::nextPiece(char closing) {
    const bool isFirst = std::exchange(isFirst_, false);
    if (peek() == closing) {
        ++offset_;
        --depth_;
        return false;
    }
    if (!isFirst) {
        expect(',');
    }
    return true;
}

void JsonReader::beginArray() {
    begin('[');
}

bool JsonReader::nextElement() {
    return nextPiece(']');
}

void JsonReader::beginObject() {
    begin('{');
}

std::optional<QByteArrayView> JsonReader::nextKey() {
    if (!nextPiece('}')) {
        return std::nullopt;
    }
    const QByteArrayView key = string();
    expect(':');
    return key;
}

QByteArrayView JsonReader::string() {
    expect('"');
    unescaped_.resize(0);  // keeps its room
    qsizetype plain = offset_;
    for (;;) {
        while (offset_ < text_.size() && !isSpecial[static_cast<unsigned char>(text_[offset_])]) {
            ++offset_;
        }
        const char special = at(offset_);
        const QByteArrayView run(text_.constData() + plain, offset_ - plain);
        if (special == '"') {
            ++offset_;
            return unescaped_.isEmpty() ? run : QByteArrayView(unescaped_.append(run));
        }
        unescaped_.append(run);
        if (special != '\\') {
            refuse("A string that does not end, or has a control character");
        }
        ++offset_;
        appendEscape();
        plain = offset_;
    }
}

// What stands after a backslash.
void JsonReader::appendEscape() {
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const char letter = at(offset_);
    if (const size_t known = letters.find(letter); known != std::string_view::npos) {
        ++offset_;
        unescaped_.append(meanings[known]);
        return;
    }
    if (letter != 'u') {
        refuse("An unknown escape");
    }
    ++offset_;
    char32_t codePoint = hexDigits();
    if (codePoint >= 0xD800 && codePoint < 0xDC00 && at(offset_) == '\\' &&
        at(offset_ + 1) == 'u') {
        offset_ += 2;
        const char32_t low = hexDigits();
        const bool isPair = low >= 0xDC00 && low < 0xE000;
        codePoint = isPair ? 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00) : 0xD800;
    }
    if (codePoint >= 0xD800 && codePoint < 0xE000) {
        refuse("Half of a surrogate pair");
    }
    appendUtf8(unescaped_, codePoint);
}

char32_t JsonReader::hexDigits() {
    char32_t value = 0;
    for (int i = 0; i < 4; ++i, ++offset_) {
        const char c = at(offset_);
        const char lower = static_cast<char>(c | 0x20);
        if (isDigit(c)) {
            value = value << 4 | static_cast<char32_t>(c - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            value = value << 4 | static_cast<char32_t>(lower - 'a' + 10);
        } else {
            refuse("An escape without its four digits");
        }
    }
    return value;
}

void JsonReader::skipValue() {
    switch (peek()) {
        case '"':
            string();
            break;
        case '[':
            beginArray();
            while (nextElement()) {
                skipValue();
            }
            break;
        case '{':
            beginObject();
            while (nextKey()) {
                skipValue();
            }
            break;
        case 't':
            skipLiteral("true");
            break;
        case 'f':
            skipLiteral("false");
            break;
        case 'n':
            skipLiteral("null");
            break;
        default:
            skipNumber();
    }
}

bool JsonReader::skipNull() {
    const bool isNull = peek() == 'n';
    if (isNull) {
        skipLiteral("null");
    }
    return isNull;
}

bool JsonReader::boolean() {
    const bool isTrue = peek() == 't';
    skipLiteral(isTrue ? "true" : "false");
    return isTrue;
}

double JsonReader::number() {
    peek();
    const qsizetype start = offset_;
    skipNumber();
    double value = 0;
    const auto result =
        std::from_chars(text_.constData() + start, text_.constData() + offset_, value);
    if (result.ec != std::errc()) {
        refuse("A number out of range");
    }
    return value;
}

void JsonReader::skipLiteral(std::string_view literal) {
    for (const char c : literal) {
        if (at(offset_) != c) {
            refuse("An unknown word");
        }
        ++offset_;
    }
}

void JsonReader::skipNumber() {
    if (at(offset_) == '-') {
        ++offset_;
    }
    if (at(offset_) == '0') {
        ++offset_;
    } else {
        skipDigits();
    }
    if (at(offset_) == '.') {
        ++offset_;
        skipDigits();
    }
    if (at(offset_) == 'e' || at(offset_) == 'E') {
        ++offset_;
        if (at(offset_) == '+' || at(offset_) == '-') {
            ++offset_;
        }
        skipDigits();
    }
}

void JsonReader::skipDigits() {
    if (!isDigit(at(offset_))) {
        refuse("No value");
    }
    while (isDigit(at(offset_))) {
        ++offset_;
    }
}

void JsonReader::end() {
    if (peek() != '\0' || offset_ != text_.size()) {
        refuse("More than one value");
    }
}

}  // namespace halvenor
