#pragma once

#include <QDBusContext>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <optional>

#include "base/Task.h"
#include "platform/mediacontrols/ExpectedPosition.h"
#include "platform/mediacontrols/NowPlayingModel.h"
#include "platform/mediacontrols/linux/CoverFiles.h"
#include "platform/sessionbus/SessionBus.h"

namespace halvenor {

class MprisPlayer;

/// The object at /org/mpris/MediaPlayer2. Its two interfaces are adaptors; a call to them arrives
/// on the main thread, in the order in which it was sent.
class MprisObject final : public QObject, public QDBusContext {
    Q_OBJECT

  public:
    explicit MprisObject(const NowPlayingModel& model);

    MprisPlayer& player() const { return *player_; }

  private:
    MprisPlayer* player_;
};

/// The player on the session bus, as MPRIS 2 has it
/// (https://specifications.freedesktop.org/mpris-spec/2.2): what it was told, and the telling of
/// clients when that changes. Main thread; bus and disk are waited for on a worker.
class MprisService {
  public:
    MprisService();
    MprisService(const MprisService&) = delete;
    MprisService& operator=(const MprisService&) = delete;
    ~MprisService();

    /// Set up before start().
    NowPlayingModel& model() { return model_; }
    void start(std::chrono::milliseconds delay);
    void setRecord(NowPlayingRecord record);
    void stateChanged() { announceSoon(); }

  private:
    /// How far the present record is.
    enum class RecordStep {
        preparing,  ///< its cover is being put into a file
        due,        ///< to be announced
        announced,
    };
    struct Cover {
        Artwork artwork;
        FileUrl url;
    };

    void putOnBus();
    void prepareRecord();
    void takeCoverBack();
    Task<> lendCover(Artwork artwork, std::stop_token stop);
    void recordIsReady();
    void announceSoon();
    void announce();
    void announcePosition(bool isNewRecord);
    void sendChanges(const QVariantMap& changed) const;

    NowPlayingModel model_;
    MprisObject object_;
    CoverFiles covers_;
    Service worker_;
    SessionBus bus_;
    QTimer announceTimer_;
    QTimer coverTimer_;
    RecordStep recordStep_ = RecordStep::announced;
    std::optional<Cover> cover_;
    QVariantMap announced_;
    ExpectedPosition expected_;
    PlaybackStatus expectedStatus_ = PlaybackStatus::stopped;
    bool wasMoved_ = false;
    TaskSlot coverTask_;
};

}  // namespace halvenor
