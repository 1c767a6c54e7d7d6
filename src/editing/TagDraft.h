#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace halvenor {

/// The value that all of `values` share; absent when they differ, or when there are none.
template <class Value>
std::optional<Value> commonValue(const QList<Value>& values) {
    if (values.isEmpty() || values.count(values.first()) != values.size()) {
        return std::nullopt;
    }
    return values.first();
}

/// A text of several tracks as an editor shows it: what they share, or an empty field that stands
/// for their different texts as long as nothing is typed into it.
struct DraftText {
    QString text;
    /// Whether the texts differed when the editor opened.
    bool wasMultiple = false;

    /// Whether saving sets the text: an emptied field blanks it, one that stood for different
    /// texts and is still empty leaves them.
    bool applies() const { return !wasMultiple || !text.isEmpty(); }

    static DraftText of(const QList<QString>& values);
};

/// A year as typed: a decimal number of four digits, white space around it aside.
/// @return absent for anything else
std::optional<int64_t> parsedYear(const QString& text);

}  // namespace halvenor
