// What clients know is kept beside what is, and each turn of the event loop in which something may
// have changed ends with one message that tells the difference. The position is never in it:
// clients let it run on, and are told when it jumps.
//
// A record waits for its cover to be in a file, so that it goes out once and whole; but not for
// long, as the folder may be on a slow disk.
#include "platform/mediacontrols/linux/MprisService.h"

#include <QCoreApplication>
#include <QDBusMessage>

#include <utility>

#include "platform/mediacontrols/linux/MprisMetadata.h"
#include "platform/mediacontrols/linux/MprisPlayer.h"
#include "platform/mediacontrols/linux/MprisRoot.h"
#include "platform/userfolders/UserFolders.h"

namespace halvenor {

namespace {

constexpr std::chrono::milliseconds coverPatience{250};

QString objectPath() {
    return QStringLiteral("/org/mpris/MediaPlayer2");
}

QString playerInterface() {
    return QStringLiteral("org.mpris.MediaPlayer2.Player");
}

// The second is for when another process of this user has the first.
QStringList busNames() {
    const QString name = QStringLiteral("org.mpris.MediaPlayer2.halvenor");
    return {name, name + QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid())};
}

FileUrl coverFolder() {
    return cacheHome().appendingPathComponent("Halvenor").appendingPathComponent("NowPlaying");
}

}  // namespace

MprisObject::MprisObject(const NowPlayingModel& model)
    : player_(new MprisPlayer(this, *this, model)) {
    new MprisRoot(this, model);
}

MprisService::MprisService()
    : object_(model_),
      covers_(coverFolder()),
      bus_(busNames(), worker_,
           {.onNamed = [this] { putOnBus(); }, .onLost = [this] { coverTask_.cancel(); }}) {
    bus_.publish(objectPath(), object_);
    announceTimer_.setSingleShot(true);
    announceTimer_.callOnTimeout(&announceTimer_, [this] { announce(); });
    coverTimer_.setSingleShot(true);
    coverTimer_.callOnTimeout(&coverTimer_, [this] { recordIsReady(); });
    object_.player().onMoved = [this] {
        wasMoved_ = true;
        announceSoon();
    };
}

MprisService::~MprisService() = default;

void MprisService::start(std::chrono::milliseconds delay) {
    bus_.start(delay);
}

void MprisService::setRecord(NowPlayingRecord record) {
    record.number = model_.record ? model_.record->number + 1 : 1;
    model_.record = std::move(record);
    prepareRecord();
}

// Whoever comes new to the bus asks for everything, so nothing is announced that was so before.
void MprisService::putOnBus() {
    auto cleaning = worker_.run([this](const std::stop_token&) { covers_.removeLeftovers(); });
    static_cast<void>(cleaning);
    const MediaPlayerState state = model_.state();
    announced_ = object_.player().liveProperties();
    expectedStatus_ = state.status;
    expected_.settle(state.position, state.status == PlaybackStatus::playing,
                     std::chrono::steady_clock::now());
    prepareRecord();
}

void MprisService::prepareRecord() {
    coverTask_.cancel();
    coverTimer_.stop();
    if (!model_.record) {
        return;
    }
    if (!model_.record->track.artworkData().isPresent() && cover_) {
        takeCoverBack();
    }
    const Artwork artwork = model_.record->track.artworkData();
    const bool isLent = cover_ && cover_->artwork == artwork;
    object_.player().setMetadata(
        mpris::metadata(*model_.record, isLent ? std::optional(cover_->url) : std::nullopt));
    if (isLent || !artwork.isPresent() || !bus_.isNamed()) {
        recordIsReady();
    } else {
        recordStep_ = RecordStep::preparing;
        coverTimer_.start(coverPatience);
        coverTask_.start(
            [this, artwork](std::stop_token stop) { return lendCover(artwork, std::move(stop)); });
    }
}

void MprisService::takeCoverBack() {
    cover_.reset();
    auto job = worker_.run([this](const std::stop_token&) { covers_.clear(); });
    static_cast<void>(job);
}

Task<> MprisService::lendCover(Artwork artwork, std::stop_token stop) {
    auto job = worker_.run(
        [this, artwork](const std::stop_token&) { return covers_.put(artwork.bytes()); }, stop);
    const std::optional<FileUrl> url = co_await job;
    if (stop.stop_requested()) {
        co_return;
    }
    if (url) {
        cover_ = Cover{artwork, *url};
        object_.player().setMetadata(mpris::metadata(*model_.record, url));
    }
    if (url || recordStep_ == RecordStep::preparing) {
        recordIsReady();
    }
}

void MprisService::recordIsReady() {
    coverTimer_.stop();
    recordStep_ = RecordStep::due;
    announceSoon();
}

void MprisService::announceSoon() {
    if (bus_.isNamed() && !announceTimer_.isActive()) {
        announceTimer_.start(0);
    }
}

void MprisService::announce() {
    if (recordStep_ == RecordStep::preparing) {
        return;
    }
    const QVariantMap live = object_.player().liveProperties();
    QVariantMap changed;
    for (auto property = live.begin(); property != live.end(); ++property) {
        if (announced_.value(property.key()) != property.value()) {
            changed.insert(property.key(), property.value());
        }
    }
    announced_ = live;
    const bool isNewRecord = std::exchange(recordStep_, RecordStep::announced) == RecordStep::due;
    if (isNewRecord) {
        changed.insert(QStringLiteral("Metadata"), object_.player().metadata());
    }
    if (!changed.isEmpty()) {
        sendChanges(changed);
    }
    announcePosition(isNewRecord);
}

// With a new record clients begin at 0, and where the status changes they look for themselves.
void MprisService::announcePosition(bool isNewRecord) {
    const MediaPlayerState state = model_.state();
    const bool isRunning = state.status == PlaybackStatus::playing;
    const auto now = std::chrono::steady_clock::now();
    if (isNewRecord) {
        expected_.settle(0, isRunning, now);
    }
    const bool isJump = std::exchange(wasMoved_, false) || expected_.isJump(state.position, now);
    if (isJump) {
        QDBusMessage signal =
            QDBusMessage::createSignal(objectPath(), playerInterface(), QStringLiteral("Seeked"));
        signal << static_cast<qlonglong>(mpris::microseconds(state.position));
        bus_.send(signal);
    }
    if (isJump || isNewRecord || expectedStatus_ != state.status) {
        expected_.settle(state.position, isRunning, now);
        expectedStatus_ = state.status;
    }
}

void MprisService::sendChanges(const QVariantMap& changed) const {
    QDBusMessage signal =
        QDBusMessage::createSignal(objectPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"));
    signal << playerInterface() << changed << QStringList();
    bus_.send(signal);
}

}  // namespace halvenor
