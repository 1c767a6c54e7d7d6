#include "playlists/M3U.h"

#include <algorithm>
#include <array>

#include "base/Error.h"

namespace halvenor {

namespace {

constexpr std::array<char16_t, 7> newlines{u'\n',   u'\v',     u'\f',    u'\r',
                                           u'\x85', u'\u2028', u'\u2029'};

bool isNewline(QChar c) {
    return std::ranges::find(newlines, c.unicode()) != newlines.end();
}

bool holdsNewline(const QByteArray& path) {
    static const std::array sequences = [] {
        std::array<QByteArray, newlines.size()> made;
        std::ranges::transform(newlines, made.begin(),
                               [](char16_t c) { return QString(QChar(c)).toUtf8(); });
        return made;
    }();
    return std::ranges::any_of(sequences,
                               [&](const QByteArray& sequence) { return path.contains(sequence); });
}

}  // namespace

QList<FileUrl> filesFromM3U(const QByteArray& text, const FileUrl& folder) {
    if (!text.isValidUtf8() || text.contains('\0')) {
        throw Error(ErrorKind::format, QStringLiteral("The file is not UTF-8 text."));
    }
    const QString decoded = QString::fromUtf8(text);  // without the byte order mark
    const auto end = decoded.cend();
    QList<FileUrl> files;
    for (auto begin = decoded.cbegin(); begin != end;) {
        const auto lineEnd = std::find_if(begin, end, isNewline);
        const QStringView line = QStringView(begin, lineEnd).trimmed();
        if (line.startsWith(u'/')) {
            files.append(FileUrl(line.toUtf8()));
        } else if (!line.isEmpty() && !line.startsWith(u'#')) {
            files.append(folder.appendingPathComponent(line.toUtf8()).standardized());
        }
        begin = lineEnd == end ? end : lineEnd + 1;
    }
    return files;
}

QByteArray m3uFromFiles(const QList<FileUrl>& files) {
    QByteArray text = "#EXTM3U\n";
    for (const FileUrl& file : files) {
        if (holdsNewline(file.path())) {
            throw Error(ErrorKind::format,
                        QStringLiteral("The path of a file holds a line break, which a playlist "
                                       "file can't tell."));
        }
        text.append(file.path()).append('\n');
    }
    return text;
}

}  // namespace halvenor
