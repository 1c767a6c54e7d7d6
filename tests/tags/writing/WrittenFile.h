#pragma once

#include <QByteArray>
#include <QString>

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include "model/ID3WriterError.h"
#include "support/TemporaryFolder.h"
#include "tags/writing/FLACTagWriter.h"
#include "tags/writing/ID3Writer.h"

namespace halvenor::test {

/// Bytes written as hexadecimal digits; whatever is no digit divides.
QByteArray hex(const char* digits);

/// The names in a folder, hidden ones too.
std::set<std::string> namesIn(const FileUrl& folder);

/// The message of the error that `work` fails with; empty when it does not fail, "not an MP3" for
/// an error that has no message. Other exceptions pass through.
template <class Work>
std::string failureOf(Work work) {
    try {
        work();
    } catch (const ID3WriterError& error) {
        return error.kind() == ID3WriterError::Case::notAnMP3 ? "not an MP3"
                                                              : error.message().toStdString();
    }
    return {};
}

/// What the writer for `name`'s extension makes of a file with the bytes of `source`. A failure
/// must have left the file as it was, and nothing beside it; its message comes as "error: ...".
QByteArray rewritten(const ID3TagFields& fields, const QByteArray& source,
                     const char* name = "track.mp3");

struct RewriteCase {
    const char* name;
    QByteArray source;
    QByteArray expected;
    ID3TagFields fields = {};
};
/// Checks `rewritten` of each source; `before` and `after` stand around the sources and the
/// results.
void expectRewritten(const std::vector<RewriteCase>& cases, const char* fileName,
                     const QByteArray& before, const QByteArray& after);

/// An edit of the title alone.
ID3TagFields titleEdit(const QString& title);
/// An edit of every field, without artwork.
ID3TagFields fullEdit();
/// An edit of every field, with artwork of 70,000 bytes.
ID3TagFields largeEdit();

}  // namespace halvenor::test
