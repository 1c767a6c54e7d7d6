#include "ui/settings/Product.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace halvenor {

namespace {
const QString manualName = QStringLiteral("HalvenorPlayerUserManual.pdf");
}  // namespace

QUrl productWebSite() {
    return QUrl(QStringLiteral(HALVENOR_WEB_SITE));
}

QString supportAddress() {
    return QStringLiteral(HALVENOR_SUPPORT_ADDRESS);
}

QUrl supportMail() {
    QUrl mail;
    mail.setScheme(QStringLiteral("mailto"));
    mail.setPath(supportAddress());
    return mail;
}

// Beside the program, as a package lays it out or as a build does.
std::optional<QUrl> manualUrl() {
    const QDir program(QCoreApplication::applicationDirPath());
    for (const char* place : {"../share/doc/halvenor", "docs/manual"}) {
        const QFileInfo file(program.filePath(QString::fromLatin1(place)) + QLatin1Char('/') +
                             manualName);
        if (file.isFile()) {
            return QUrl::fromLocalFile(file.canonicalFilePath());
        }
    }
    return std::nullopt;
}

}  // namespace halvenor
