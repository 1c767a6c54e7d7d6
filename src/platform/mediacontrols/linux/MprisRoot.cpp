#include "platform/mediacontrols/linux/MprisRoot.h"

namespace halvenor {

QStringList MprisRoot::uriSchemes() const {
    return model_.player.onOpen ? QStringList(QStringLiteral("file")) : QStringList();
}

QStringList MprisRoot::mimeTypes() const {
    if (!model_.player.onOpen) {
        return {};
    }
    return {QStringLiteral("audio/mpeg"),         QStringLiteral("audio/mp4"),
            QStringLiteral("audio/x-m4a"),        QStringLiteral("audio/flac"),
            QStringLiteral("audio/x-flac"),       QStringLiteral("audio/x-wav"),
            QStringLiteral("audio/vnd.wave"),     QStringLiteral("audio/x-aiff"),
            QStringLiteral("audio/aac"),          QStringLiteral("audio/ogg"),
            QStringLiteral("audio/x-vorbis+ogg"), QStringLiteral("inode/directory")};
}

void MprisRoot::Raise() {
    if (model_.player.onRaise) {
        model_.player.onRaise();
    }
}

void MprisRoot::Quit() {
    if (model_.player.onQuit) {
        model_.player.onQuit();
    }
}

}  // namespace halvenor
