#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QVariantMap>

#include <functional>

#include "platform/mediacontrols/NowPlayingModel.h"

namespace halvenor {

/// The interface org.mpris.MediaPlayer2.Player. Names are those of the bus; times there are in
/// microseconds. What a client asks for that can't be done, or makes no sense, has no effect.
///
/// Changes are announced by MprisService, as Qt announces none by itself.
class MprisPlayer final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(QString LoopStatus READ loopStatus WRITE setLoopStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(bool Shuffle READ isShuffling WRITE setShuffling)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)

  public:
    /// @param object the object on the bus; owns this
    /// @param context that object as the one that answers with errors
    /// @param model outlives it
    MprisPlayer(QObject* object, const QDBusContext& context, const NowPlayingModel& model)
        : QDBusAbstractAdaptor(object), context_(context), model_(model) {}

    /// The record on show; changed by setMetadata alone.
    const QVariantMap& metadata() const { return metadata_; }
    void setMetadata(QVariantMap metadata) { metadata_ = std::move(metadata); }
    /// Told when a client has moved the position.
    std::function<void()> onMoved;

    /// The properties whose changes are announced one by one, with their values now: all that can
    /// change but Position, which never is announced, and Metadata.
    QVariantMap liveProperties() const;

    QString playbackStatus() const;
    QString loopStatus() const;
    bool isShuffling() const { return model_.state().isShuffling; }
    double volume() const { return model_.state().volume; }
    qlonglong position() const;
    double rate() const { return 1.0; }
    bool canGoNext() const { return model_.state().canGoNext; }
    bool canGoPrevious() const { return model_.state().canGoPrevious; }
    bool canPlay() const { return model_.state().canPlay; }
    bool canPause() const { return model_.state().canPause; }
    bool canSeek() const { return model_.state().canSeek && model_.player.onSeek; }
    bool canControl() const { return true; }

    void setLoopStatus(const QString& status);
    void setRate(double rate);
    void setShuffling(bool isShuffling);
    void setVolume(double volume);

  public Q_SLOTS:
    void Next();
    void Previous();
    void Pause();
    void PlayPause();
    void Stop();
    void Play();
    void Seek(qlonglong Offset);
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position);
    void OpenUri(const QString& Uri);

  Q_SIGNALS:
    /// Here for introspection. Sent by MprisService, which keeps it behind the record it is about.
    void Seeked(qlonglong Position);

  private:
    /// The current track's length in microseconds; absent when unknown.
    std::optional<int64_t> length() const;
    void seekTo(int64_t position);

    const QDBusContext& context_;
    const NowPlayingModel& model_;
    QVariantMap metadata_;
};

}  // namespace halvenor
