// The file manager is asked over the session bus (org.freedesktop.FileManager1), which can select
// an item. Without a bus, or a file manager that answers there, the folder is opened by whatever
// the desktop opens folders with.
#include "platform/desktop/FileManager.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QUrl>

namespace halvenor {

namespace {

// A file manager that has to be started first may take a while to answer.
constexpr int answerTimeout = 10'000;  // milliseconds

void openFolder(const FileUrl& folder) {
    const QUrl url = QUrl::fromEncoded(folder.encoded(), QUrl::StrictMode);
    if (!QDesktopServices::openUrl(url)) {
        qWarning("No file manager could be found for %s", folder.path().constData());
    }
}

void ask(const QString& method, const FileUrl& item, const FileUrl& folder) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolder(folder);
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
                                       QStringLiteral("/org/freedesktop/FileManager1"),
                                       QStringLiteral("org.freedesktop.FileManager1"), method);
    call << QStringList{QString::fromLatin1(item.encoded())} << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, answerTimeout),
                                                QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder] {
        watcher->deleteLater();
        if (watcher->isError()) {
            openFolder(folder);
        }
    });
}

}  // namespace

void revealInFileManager(const FileUrl& url) {
    ask(QStringLiteral("ShowItems"), url, url.deletingLastPathComponent());
}

void openInFileManager(const FileUrl& folder) {
    ask(QStringLiteral("ShowFolders"), folder, folder);
}

}  // namespace halvenor
