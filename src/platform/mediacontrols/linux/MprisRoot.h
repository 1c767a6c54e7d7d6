#pragma once

#include <QDBusAbstractAdaptor>
#include <QStringList>

#include "platform/mediacontrols/NowPlayingModel.h"

namespace halvenor {

/// The interface org.mpris.MediaPlayer2: the program as a whole. Names are those of the bus. None
/// of its properties changes while it is on the bus.
class MprisRoot final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ canQuit CONSTANT)
    Q_PROPERTY(bool CanRaise READ canRaise CONSTANT)
    Q_PROPERTY(bool HasTrackList READ hasTrackList CONSTANT)
    Q_PROPERTY(QString Identity READ identity CONSTANT)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry CONSTANT)
    Q_PROPERTY(QStringList SupportedUriSchemes READ uriSchemes CONSTANT)
    Q_PROPERTY(QStringList SupportedMimeTypes READ mimeTypes CONSTANT)

  public:
    /// @param object the object on the bus; owns this
    /// @param model outlives it
    MprisRoot(QObject* object, const NowPlayingModel& model)
        : QDBusAbstractAdaptor(object), model_(model) {}

    bool canQuit() const { return static_cast<bool>(model_.player.onQuit); }
    bool canRaise() const { return static_cast<bool>(model_.player.onRaise); }
    bool hasTrackList() const { return false; }
    QString identity() const { return QStringLiteral("Halvenor"); }
    QString desktopEntry() const { return QStringLiteral("halvenor"); }
    QStringList uriSchemes() const;
    QStringList mimeTypes() const;

  public Q_SLOTS:
    void Raise();
    void Quit();

  private:
    const NowPlayingModel& model_;
};

}  // namespace halvenor
