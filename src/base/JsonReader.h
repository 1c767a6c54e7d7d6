#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>
#include <string_view>

namespace halvenor {

/// Reads a JSON text (RFC 8259) from its beginning to its end, value by value, for long files whose
/// form is known: nothing is built but what the caller makes of it, and strings without escapes are
/// not even copied.
///
/// Whoever reads asks for what should come next. Every call throws Error (format) with the byte
/// offset where something else stands: another kind of value, bad syntax, text that is not UTF-8,
/// half of a surrogate pair, values nested more than 64 deep. One thread.
///
///     reader.beginObject();
///     while (const auto key = reader.nextKey()) {
///         if (*key == "name") { name = reader.string(); } else { reader.skipValue(); }
///     }
class JsonReader {
  public:
    /// Looks through the text once, for bytes that are not UTF-8. A byte order mark before the
    /// first value is passed over.
    explicit JsonReader(QByteArray text);

    /// Goes into an array. Then nextElement() tells, before each element and at the end, whether
    /// one more stands there; it must be read or skipped.
    void beginArray();
    bool nextElement();
    /// Goes into an object. Then nextKey() gives each key, whose value must be read or skipped.
    void beginObject();
    /// Valid until the next call of string(), nextKey() or skipValue(). Absent after the last.
    std::optional<QByteArrayView> nextKey();
    /// A string's UTF-8; valid as long as a key.
    QByteArrayView string();
    bool boolean();
    /// The nearest double; a number beyond the range of doubles is refused.
    double number();
    /// Passes over a value of any kind.
    void skipValue();
    /// Passes over a null, if that is what stands there. @return whether it is
    bool skipNull();
    /// Whether an object stands there.
    bool isObject() { return peek() == '{'; }
    /// Nothing but white space may stand here.
    void end();

    /// Refuses what was read, for a reason of the caller's.
    [[noreturn]] void refuse(const char* why) const;

  private:
    void begin(char bracket);
    bool nextPiece(char closing);
    char peek();
    void expect(char wanted);
    void skipLiteral(std::string_view literal);
    void skipNumber();
    void skipDigits();
    void appendEscape();
    char32_t hexDigits();
    char at(qsizetype offset) const { return offset < text_.size() ? text_[offset] : '\0'; }

    const QByteArray text_;
    qsizetype offset_ = 0;
    int depth_ = 0;
    bool isFirst_ = false;  // an array or object was begun, and nothing of it has been asked for
    QByteArray unescaped_;  // the last string, if it had escapes
};

}  // namespace halvenor
