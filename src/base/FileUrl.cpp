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

std::optional<FileUrl> FileUrl::fromEncoded(const QByteArray& text) {
    static const QByteArray scheme = "file:";
    static const QByteArray host = "//localhost";
    if (text.left(scheme.size()).toLower() != scheme) {
        return std::nullopt;
    }
    QByteArray rest = text.mid(scheme.size());
    if (rest.left(host.size()).toLower() == host) {
        rest = rest.mid(host.size());
    } else if (rest.startsWith("//")) {
        rest = rest.mid(2);
    }
    const QByteArray path = QByteArray::fromPercentEncoding(rest);
    if (!rest.startsWith('/') || path.contains('\0')) {
        return std::nullopt;
    }
    return FileUrl(path);
}

QString displayText(const QByteArray& pathBytes) {
    return QString::fromUtf8(pathBytes);
}

}  // namespace halvenor
