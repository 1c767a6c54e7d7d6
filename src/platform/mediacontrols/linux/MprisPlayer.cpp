#include "platform/mediacontrols/linux/MprisPlayer.h"

#include <QDBusError>

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/mediacontrols/linux/MprisMetadata.h"

namespace halvenor {

namespace {

void call(const std::function<void()>& action) {
    if (action) {
        action();
    }
}

struct LoopWord {
    LoopMode mode;
    const char* word;
};
constexpr std::array loopWords = {LoopWord{LoopMode::none, "None"},
                                  LoopWord{LoopMode::track, "Track"},
                                  LoopWord{LoopMode::playlist, "Playlist"}};

QString wordOf(LoopMode mode) {
    return QString::fromLatin1(std::ranges::find(loopWords, mode, &LoopWord::mode)->word);
}

QString wordOf(PlaybackStatus status) {
    switch (status) {
        case PlaybackStatus::playing:
            return QStringLiteral("Playing");
        case PlaybackStatus::paused:
            return QStringLiteral("Paused");
        case PlaybackStatus::stopped:
            break;
    }
    return QStringLiteral("Stopped");
}

}  // namespace

QVariantMap MprisPlayer::liveProperties() const {
    const MediaPlayerState state = model_.state();
    return {{QStringLiteral("PlaybackStatus"), wordOf(state.status)},
            {QStringLiteral("LoopStatus"), wordOf(state.loopMode)},
            {QStringLiteral("Shuffle"), state.isShuffling},
            {QStringLiteral("Volume"), state.volume},
            {QStringLiteral("CanGoNext"), state.canGoNext},
            {QStringLiteral("CanGoPrevious"), state.canGoPrevious},
            {QStringLiteral("CanPlay"), state.canPlay},
            {QStringLiteral("CanPause"), state.canPause},
            {QStringLiteral("CanSeek"), canSeek()}};
}

QString MprisPlayer::playbackStatus() const {
    return wordOf(model_.state().status);
}

QString MprisPlayer::loopStatus() const {
    return wordOf(model_.state().loopMode);
}

qlonglong MprisPlayer::position() const {
    return mpris::microseconds(model_.state().position);
}

std::optional<int64_t> MprisPlayer::length() const {
    const auto& record = model_.record;
    return record && record->duration > 0 ? std::optional(mpris::microseconds(record->duration))
                                          : std::nullopt;
}

void MprisPlayer::setLoopStatus(const QString& status) {
    const auto* const found = std::ranges::find_if(
        loopWords, [&](const LoopWord& known) { return status == QLatin1String(known.word); });
    if (found != loopWords.end() && model_.player.onSetLoopMode) {
        model_.player.onSetLoopMode(found->mode);
    }
}

// The speed of a recording never changes; a rate of 0 is a pause to those who send one.
void MprisPlayer::setRate(double rate) {
    if (rate == 0) {
        Pause();
    }
}

void MprisPlayer::setShuffling(bool isShuffling) {
    if (model_.player.onSetShuffling) {
        model_.player.onSetShuffling(isShuffling);
    }
}

void MprisPlayer::setVolume(double volume) {
    if (model_.player.onSetVolume && !std::isnan(volume)) {
        model_.player.onSetVolume(std::clamp(volume, 0.0, 1.0));
    }
}

void MprisPlayer::Next() {
    if (canGoNext()) {
        call(model_.commands.onNext);
    }
}

void MprisPlayer::Previous() {
    if (canGoPrevious()) {
        call(model_.commands.onPrevious);
    }
}

void MprisPlayer::Pause() {
    if (canPause()) {
        call(model_.commands.onPause);
    }
}

void MprisPlayer::PlayPause() {
    if (canPause()) {
        call(model_.commands.onToggle);
    } else {
        context_.sendErrorReply(QDBusError::NotSupported,
                                QStringLiteral("There is nothing to pause."));
    }
}

void MprisPlayer::Stop() {
    call(model_.player.onStop);
}

void MprisPlayer::Play() {
    if (canPlay()) {
        call(model_.commands.onPlay);
    }
}

// Past the end of the track it is a call to Next. Offsets may be any number, so sums are of halves.
void MprisPlayer::Seek(qlonglong Offset) {
    if (!canSeek()) {
        return;
    }
    constexpr qlonglong farthest = qlonglong{1} << 61;
    const int64_t target = position() + std::clamp(Offset, -farthest, farthest);
    if (const auto end = length(); end && target > *end) {
        Next();
    } else {
        seekTo(std::max<int64_t>(target, 0));
    }
}

// A client that speaks of another track has not heard yet that this one plays.
void MprisPlayer::SetPosition(const QDBusObjectPath& TrackId, qlonglong Position) {
    const bool isCurrent = model_.record && TrackId == mpris::trackId(*model_.record);
    const bool isInside = Position >= 0 && Position <= length().value_or(Position);
    if (canSeek() && isCurrent && isInside) {
        seekTo(Position);
    }
}

void MprisPlayer::seekTo(int64_t position) {
    model_.player.onSeek(static_cast<double>(position) / 1e6);
    call(onMoved);
}

void MprisPlayer::OpenUri(const QString& Uri) {
    if (!model_.player.onOpen) {
        context_.sendErrorReply(QDBusError::NotSupported,
                                QStringLiteral("Halvenor opens nothing by its address."));
        return;
    }
    const auto url = FileUrl::fromEncoded(Uri.toUtf8());
    if (!url) {
        context_.sendErrorReply(QDBusError::InvalidArgs,
                                QStringLiteral("Halvenor opens addresses of files alone."));
        return;
    }
    model_.player.onOpen(url->standardized());
}

}  // namespace halvenor
