#pragma once

#include <QByteArray>
#include <QList>

#include "base/FileUrl.h"

namespace halvenor {

/// The files that an M3U text lists, in order, one to a line. White space around a line, empty
/// lines and lines that begin with "#" are left out; all else is a path as it stands, existing or
/// not, and no URL. Lines end at any newline of Unicode; a UTF-8 byte order mark at the beginning
/// is no part of the first line. Any thread.
/// @param folder absolute; what relative lines start from. Only those are standardised.
/// @throws Error (format) for a text that is not UTF-8 or holds a zero byte, which no path can
QList<FileUrl> filesFromM3U(const QByteArray& text, const FileUrl& folder);

/// "#EXTM3U" and the bytes of each path, a line each. Any thread.
/// @throws Error (format) for a path with a newline in it, which would read as two
QByteArray m3uFromFiles(const QList<FileUrl>& files);

}  // namespace halvenor
