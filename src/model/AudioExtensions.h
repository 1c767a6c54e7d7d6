#pragma once

#include <QByteArray>
#include <QSet>

#include <array>
#include <string_view>

namespace halvenor {

/// The lower-case extensions of the files that count as music, everywhere in the program.
inline constexpr std::array<std::string_view, 9> audioExtensions = {
    "mp3", "m4a", "flac", "wav", "aiff", "aif", "aac", "ogg", "alac"};

/// The same as a set. Any thread.
const QSet<QByteArray>& supportedExtensions();

}  // namespace halvenor
