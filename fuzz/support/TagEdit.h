#pragma once

#include <QByteArray>

#include "tags/writing/ID3TagFields.h"

namespace halvenor::fuzz {

/// A file and what to write into its tags, both made of one input: its last bytes are the edit.
struct TagEdit {
    /// How many bytes at the end of an input make the edit: which fields are present, the year,
    /// and the texts. make-seeds knows this form.
    static constexpr qsizetype bytes = 16;

    explicit TagEdit(const QByteArray& input);

    ID3TagFields fields;
    QByteArray file;
};

/// Whether a reader must find this title as it stands once it has been written: it is no text that
/// stands for none, and holds nothing that ends or divides texts, or is trimmed.
bool isReadBackAsItIs(const QString& title);

}  // namespace halvenor::fuzz
