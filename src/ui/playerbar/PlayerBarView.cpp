#include "ui/playerbar/PlayerBarView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/Menus.h"
#include "ui/controls/PlaylistMenu.h"
#include "ui/controls/ShownTrack.h"
#include "ui/controls/ThinSlider.h"
#include "ui/playerbar/TimelineView.h"
#include "ui/playerbar/TrackSummaryView.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int edge = 15;
constexpr int stripHeight = 50;
constexpr double leftShare = 1 / 3.7;
constexpr int timelineRowLeast = 170;
constexpr int volumeWidth = 65;
constexpr int volumeHeight = 16;
constexpr double smallSymbol = 13;
constexpr double playSymbol = 26;
}  // namespace

PlayerBarView::PlayerBarView(AppState& state, QWidget* parent)
    : QWidget(parent), state_(state), summary_(new TrackSummaryView(this)) {
    AudioEngineManager& engine = state_.audioEngine();
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(QStringLiteral("Player"));
    summary_->onArtworkClicked = [this] { state_.revealPlayingTrackFolder(); };
    summary_->onTextClicked = [this] { copyTrackInfo(); };
    summary_->onFavoriteClicked = [this] {
        if (const auto track = shownTrack(state_)) {
            state_.toggleFavorite(*track);
        }
    };

    previous_ = makeButton(QStringLiteral("backward.end.fill"), smallSymbol,
                           QStringLiteral("Previous (,)"), [this] { state_.playPrevious(); });
    play_ = makeButton(QStringLiteral("play.circle.fill"), playSymbol, QStringLiteral("Play"),
                       [&engine] { engine.togglePlayPause(); });
    next_ = makeButton(QStringLiteral("forward.end.fill"), smallSymbol, QStringLiteral("Next (.)"),
                       [this] { state_.playNext(); });
    timeline_ = new TimelineView(state_, {.surface = &surface}, this);
    shuffle_ = makeButton(QStringLiteral("shuffle"), smallSymbol, QStringLiteral("Shuffle"),
                          [this] { state_.toggleShuffle(); });
    repeat_ = makeButton(QStringLiteral("repeat"), smallSymbol, QStringLiteral("Repeat Off"),
                         [this] { state_.cycleRepeatMode(); });
    mute_ = makeButton(QStringLiteral("speaker.wave.2.fill"), smallSymbol,
                       QStringLiteral("Toggle mute (m)"), [&engine] { engine.toggleMute(); });
    volume_ = new ThinSlider(QStringLiteral("Volume"), this);
    coverMode_ =
        makeButton(QStringLiteral("record.circle"), smallSymbol, QStringLiteral("Cover Mode (c)"),
                   [this] { state_.isCoverModePresented = true; });
    history_ =
        makeButton(QStringLiteral("list.bullet"), smallSymbol, QStringLiteral("History (h)"),
                   [this] { state_.isPlaybackQueuePresented = !*state_.isPlaybackQueuePresented; });
    menu_ = makeButton(QStringLiteral("ellipsis"), smallSymbol, QStringLiteral("More"),
                       [this] { showMenu(); });
    wireVolume();
    subscribe();
    refreshTrack();
    refreshTransport();
    refreshModes();
    refreshVolume();
}

IconButton* PlayerBarView::makeButton(const QString& symbol, double size, const QString& name,
                                      std::function<void()> action) {
    auto* button = new IconButton(symbol, size, name, this);
    connect(button, &QAbstractButton::clicked, this, std::move(action));
    return button;
}

void PlayerBarView::wireVolume() {
    AudioEngineManager& engine = state_.audioEngine();
    volume_->setSurface(&surface);
    volume_->describeValue = [](double volume) {
        return QStringLiteral("%1%").arg(std::lround(volume * 100));
    };
    volume_->onValueWished = [&engine](double volume) {
        engine.setVolume(static_cast<float>(volume));
    };
}

void PlayerBarView::subscribe() {
    AudioEngineManager& engine = state_.audioEngine();
    const auto track = [this](const auto&) { refreshTrack(); };
    const auto modes = [this](const auto&) { refreshModes(); };
    const auto volume = [this](const auto&) { refreshVolume(); };
    subscriptions_.push_back(engine.currentTrack.subscribe(track));
    subscriptions_.push_back(state_.selectedTrack.subscribe(track));
    subscriptions_.push_back(engine.isPlaying.subscribe([this](bool) { refreshTransport(); }));
    subscriptions_.push_back(state_.isShuffleEnabled.subscribe(modes));
    subscriptions_.push_back(state_.repeatMode.subscribe(modes));
    subscriptions_.push_back(engine.volume.subscribe(volume));
    subscriptions_.push_back(engine.isMuted.subscribe(volume));
    subscriptions_.push_back(state_.favoriteTrackPaths.subscribe(track));
    subscriptions_.push_back(state_.isPlaybackQueuePresented.subscribe(
        [this](bool isShown) { history_->setActive(isShown); }));
}

void PlayerBarView::refreshTrack() {
    const auto track = shownTrack(state_);
    summary_->setTrack(track);
    summary_->setFavorite(track && state_.isFavorite(*track));
    menu_->setVisible(track.has_value());
    layOut();
}

void PlayerBarView::refreshTime() {
    timeline_->refreshTime();
}

void PlayerBarView::refreshTransport() {
    const bool isPlaying = *state_.audioEngine().isPlaying;
    play_->setSymbol(isPlaying ? QStringLiteral("pause.circle.fill")
                               : QStringLiteral("play.circle.fill"));
    play_->setHelp(isPlaying ? QStringLiteral("Pause (Space)") : QStringLiteral("Play (Space)"));
}

void PlayerBarView::refreshModes() {
    const RepeatMode mode = *state_.repeatMode;
    shuffle_->setActive(*state_.isShuffleEnabled);
    shuffle_->setAccessibleDescription(*state_.isShuffleEnabled ? QStringLiteral("on")
                                                                : QStringLiteral("off"));
    repeat_->setSymbol(iconName(mode));
    repeat_->setHelp(helpText(mode));
    repeat_->setActive(mode != RepeatMode::off);
}

void PlayerBarView::refreshVolume() {
    const AudioEngineManager& engine = state_.audioEngine();
    volume_->setValue(static_cast<double>(*engine.volume));
    mute_->setSymbol(*engine.isMuted ? QStringLiteral("speaker.slash.fill")
                                     : QStringLiteral("speaker.wave.2.fill"));
}

void PlayerBarView::copyTrackInfo() const {
    if (const auto track = shownTrack(state_)) {
        QGuiApplication::clipboard()->setText(track->artist() + QStringLiteral(" - ") +
                                              track->title());
    }
}

void PlayerBarView::showMenu() {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addPlaylistMenu(*menu, state_, [this](const QUuid& id) {
        if (const auto track = shownTrack(state_)) {
            state_.addToPlaylist({*track}, id);
        }
    });
    menu->addAction(QStringLiteral("Show in Finder"), this, [this] {
        if (const auto& track = *state_.audioEngine().currentTrack) {
            revealInFileManager(track->url());
        }
    });
    menu->addAction(QStringLiteral("Cover Mode"), this,
                    [this] { state_.isCoverModePresented = true; });
    popUpAbove(*menu, *menu_);
}

void PlayerBarView::layOut() {
    const int top = (height() - stripHeight) / 2;
    const auto place = [this, top](QWidget* widget, int left, const QSize& size) {
        const QRect rect(left, top + (stripHeight - size.height()) / 2, size.width(),
                         size.height());
        widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
        return left + size.width();
    };
    const int leftZone = static_cast<int>(std::lround(width() * leftShare));
    place(summary_, edge, {leftZone - edge - 12, stripHeight});

    int x = place(previous_, leftZone, previous_->sizeHint());
    x = place(play_, x + 8, play_->sizeHint());
    x = place(next_, x + 8, next_->sizeHint());
    const int timelineLeft = x + 14;

    // What stands at the end is placed from the end; the timeline takes what is left.
    int end = width() - edge;
    const auto placeBefore = [&](QWidget* widget, const QSize& size, int gap) {
        end -= size.width();
        place(widget, end, size);
        end -= gap;
    };
    if (!menu_->isHidden()) {
        placeBefore(menu_, menu_->sizeHint(), 2);
    }
    placeBefore(history_, history_->sizeHint(), 2);
    placeBefore(coverMode_, coverMode_->sizeHint(), 12);
    placeBefore(volume_, {volumeWidth, volumeHeight}, 4);
    placeBefore(mute_, mute_->sizeHint(), 12);
    placeBefore(repeat_, repeat_->sizeHint(), 2);
    placeBefore(shuffle_, shuffle_->sizeHint(), 14);

    const int rowWidth = std::max(end - timelineLeft, timelineRowLeast);
    place(timeline_, timelineLeft, {rowWidth, stripHeight});
}

void PlayerBarView::resizeEvent(QResizeEvent*) {
    layOut();
}

void PlayerBarView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), surface());
    painter.fillRect(QRect(0, 0, width(), 1), HalvenorTheme::hairline());
}

QColor PlayerBarView::surface() {
    return HalvenorTheme::pane(HalvenorTheme::windowPlaybarSurface());
}

}  // namespace halvenor
