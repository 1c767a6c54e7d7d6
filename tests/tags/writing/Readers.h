#pragma once

#include <QByteArray>

#include <iosfwd>
#include <map>
#include <string>

#include "base/FileUrl.h"

namespace halvenor::test {

/// What a reader of tags that is not ours sees in a file. Texts in UTF-8; what is not there is
/// empty.
struct SeenTags {
    std::string title;
    std::string artist;
    std::string album;
    std::string albumArtist;
    std::string date;
    std::string genre;
    std::string comment;
    std::string coverType;  ///< MIME type
    QByteArray cover;

    bool operator==(const SeenTags&) const = default;
};
std::ostream& operator<<(std::ostream& out, const SeenTags& tags);

/// The readers that are libraries and programs of their own, by name. Each fails the test, and
/// throws, when it can't read the file.
using Reader = SeenTags (*)(const FileUrl& file);
const std::map<std::string, Reader>& readers();

/// FFmpeg's decoder: the samples of the first audio stream, and no word of complaint.
QByteArray decodedAudio(const FileUrl& file);

/// A picture by FFmpeg. @param extension "png" or "jpg"
QByteArray makeImage(const char* extension, int width, int height);

}  // namespace halvenor::test
