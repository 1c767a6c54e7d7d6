#include "base/FileUrl.h"

#include <utility>

namespace halvenor {

namespace {

QByteArray withoutTrailingSlashes(QByteArray path) {
    qsizetype length = path.size();
    while (length > 1 && path.at(length - 1) == '/') {
        --length;
    }
    path.truncate(length);
    return path;
}

// Where the extension's dot stands in `name`, or -1 without an extension.
qsizetype extensionDot(const QByteArray& name) {
    const qsizetype dot = name.lastIndexOf('.');
    const bool onlyLeading = dot <= 0 || name == "..";
    return onlyLeading || dot + 1 == name.size() ? -1 : dot;
}

// Takes `prefix`, in whatever case, off the beginning of `text`. @return whether it was there
bool removePrefix(QByteArrayView& text, QByteArrayView prefix) {
    const bool isThere = text.size() >= prefix.size() &&
                         text.first(prefix.size()).compare(prefix, Qt::CaseInsensitive) == 0;
    text = isThere ? text.sliced(prefix.size()) : text;
    return isThere;
}

// The value of a hexadecimal digit; negative for any other character.
int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Absent where two digits do not follow a percent sign, which Qt would make some byte of.
std::optional<QByteArray> percentDecoded(QByteArrayView text) {
    QByteArray bytes(text.size(), Qt::Uninitialized);
    char* end = bytes.data();
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            *end++ = text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hexValue(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        *end++ = static_cast<char>(high << 4 | low);
        i += 2;
    }
    bytes.truncate(end - bytes.constData());
    return bytes;
}

}  // namespace

FileUrl::FileUrl(QByteArray path) : path_(withoutTrailingSlashes(std::move(path))) {}

QByteArray FileUrl::lastPathComponent() const {
    if (path_ == "/") {
        return path_;
    }
    return path_.mid(path_.lastIndexOf('/') + 1);
}

QByteArray FileUrl::pathExtension() const {
    const QByteArray name = lastPathComponent();
    const qsizetype dot = extensionDot(name);
    return dot < 0 ? QByteArray() : name.mid(dot + 1);
}

QList<QByteArray> FileUrl::pathComponents() const {
    QList<QByteArray> components;
    if (path_.startsWith('/')) {
        components.append(QByteArray("/"));
    }
    for (const QByteArray& piece : path_.split('/')) {
        if (!piece.isEmpty()) {
            components.append(piece);
        }
    }
    return components;
}

FileUrl FileUrl::appendingPathComponent(const QByteArray& component) const {
    if (path_.isEmpty() || path_.endsWith('/')) {
        return FileUrl(path_ + component);
    }
    return FileUrl(path_ + '/' + component);
}

FileUrl FileUrl::deletingLastPathComponent() const {
    const qsizetype slash = path_.lastIndexOf('/');
    if (slash < 0) {
        return FileUrl();
    }
    return FileUrl(slash == 0 ? QByteArray("/") : path_.left(slash));
}

FileUrl FileUrl::deletingPathExtension() const {
    const qsizetype dot = extensionDot(lastPathComponent());
    if (dot < 0) {
        return *this;
    }
    return FileUrl(path_.left(path_.size() - lastPathComponent().size() + dot));
}

FileUrl FileUrl::standardized() const {
    const bool needsWork = path_.contains("/.") || path_.contains("//") || path_.startsWith('.');
    if (!needsWork) {
        return *this;
    }
    const bool absolute = path_.startsWith('/');
    QList<QByteArray> kept;
    for (const QByteArray& piece : path_.split('/')) {
        if (piece.isEmpty() || piece == ".") {
            continue;
        }
        if (piece != "..") {
            kept.append(piece);
        } else if (!kept.isEmpty() && kept.last() != "..") {
            kept.removeLast();
        } else if (!absolute) {
            kept.append(piece);
        }
    }
    return FileUrl((absolute ? QByteArray("/") : QByteArray()) + kept.join('/'));
}

QByteArray FileUrl::encoded() const {
    return "file://" + path_.toPercentEncoding("/");
}

std::optional<FileUrl> FileUrl::fromEncoded(QByteArrayView text) {
    const bool hasScheme = removePrefix(text, "file:");
    if (hasScheme && !removePrefix(text, "//localhost")) {
        removePrefix(text, "//");
    }
    const auto path = hasScheme && text.startsWith('/') ? percentDecoded(text) : std::nullopt;
    return path && !path->contains('\0') ? std::optional(FileUrl(*path)) : std::nullopt;
}

QString displayText(const QByteArray& pathBytes) {
    return QString::fromUtf8(pathBytes);
}

}  // namespace halvenor
