#include "ui/covermode/CoverModeView.h"

#include <QMenu>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/Menus.h"
#include "ui/controls/PlaylistMenu.h"
#include "ui/controls/ShownTrack.h"
#include "ui/covermode/CoverModeLayout.h"
#include "ui/covermode/CoverModeSlider.h"
#include "ui/covermode/CoverModeVolume.h"
#include "ui/covermode/LargeCover.h"
#include "ui/playerbar/TimelineView.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr double smallSymbol = 13;
constexpr double playSymbol = 26;
constexpr int rowSpacing = 20;
constexpr int controlSpacing = 10;
constexpr int textHeight = 62;
constexpr int titleHeight = 34;
constexpr int timelineHeight = 40;
constexpr int volumeHeight = 32;
constexpr int edgeMargin = 32;

QColor surface() {
    return Qt::black;
}

}  // namespace

CoverModeView::CoverModeView(AppState& state, QWidget* parent)
    : QWidget(parent), state_(state), cover_(new LargeCover(this)) {
    AudioEngineManager& engine = state_.audioEngine();
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(QStringLiteral("Cover Mode"));
    setFocusPolicy(Qt::ClickFocus);
    const auto leave = [this] { state_.isCoverModePresented = false; };
    connect(cover_, &QAbstractButton::clicked, this, leave);
    favorite_ =
        makeButton(QStringLiteral("heart"), smallSymbol, QStringLiteral("Favorite (l)"), [this] {
            if (const auto track = *state_.audioEngine().currentTrack) {
                state_.toggleFavorite(*track);
            }
        });
    previous_ = makeButton(QStringLiteral("backward.end.fill"), smallSymbol,
                           QStringLiteral("Previous Track (,)"), [this] { state_.playPrevious(); });
    play_ = makeButton(QStringLiteral("play.circle.fill"), playSymbol, QStringLiteral("Play"),
                       [&engine] { engine.togglePlayPause(); });
    next_ = makeButton(QStringLiteral("forward.end.fill"), smallSymbol,
                       QStringLiteral("Next Track (.)"), [this] { state_.playNext(); });
    timeline_ = new TimelineView(state_,
                                 {.surface = &surface,
                                  .surround = Surround::black,
                                  .slider = coverModeSlider,
                                  .controlHeight = timelineHeight,
                                  .areTimesAtEnds = true},
                                 this);
    volume_ = new CoverModeVolume(engine, this);
    menu_ = makeButton(QStringLiteral("ellipsis"), smallSymbol, QStringLiteral("More"),
                       [this] { showMenu(); });
    hide();
    subscribe();
    refreshTrack();
    refreshTransport();
}

IconButton* CoverModeView::makeButton(const QString& symbol, double size, const QString& name,
                                      std::function<void()> action) {
    auto* button = new IconButton(symbol, size, name, this);
    button->setSurround(Surround::black);
    connect(button, &QAbstractButton::clicked, this, std::move(action));
    return button;
}

void CoverModeView::subscribe() {
    AudioEngineManager& engine = state_.audioEngine();
    const auto track = [this](const auto&) { refreshTrack(); };
    const auto transport = [this](const auto&) { refreshTransport(); };
    subscriptions_.push_back(engine.currentTrack.subscribe(track));
    subscriptions_.push_back(state_.selectedTrack.subscribe(track));
    subscriptions_.push_back(state_.favoriteTrackPaths.subscribe(track));
    subscriptions_.push_back(engine.currentTrack.subscribe(transport));
    subscriptions_.push_back(engine.isPlaying.subscribe(transport));
    subscriptions_.push_back(state_.playingQueue.subscribe(transport));
    subscriptions_.push_back(state_.currentIndex.subscribe(transport));
    subscriptions_.push_back(state_.repeatMode.subscribe(transport));
}

void CoverModeView::refreshTrack() {
    const auto track = shownTrack(state_);
    cover_->setArtwork(track ? track->artworkData() : Artwork());
    title_ = track ? track->title() : QString();
    artist_ = track ? track->artist() : QString();
    const bool isFavorite = track && state_.isFavorite(*track);
    favorite_->setSymbol(isFavorite ? QStringLiteral("heart.fill") : QStringLiteral("heart"));
    favorite_->setActive(isFavorite);
    update();
}

void CoverModeView::refreshTransport() {
    const bool isPlaying = *state_.audioEngine().isPlaying;
    play_->setSymbol(isPlaying ? QStringLiteral("pause.circle.fill")
                               : QStringLiteral("play.circle.fill"));
    play_->setHelp(isPlaying ? QStringLiteral("Pause (Space)") : QStringLiteral("Play (Space)"));
    previous_->setEnabled(state_.hasPrevious());
    next_->setEnabled(state_.hasNext());
}

void CoverModeView::showMenu() {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (const auto track = shownTrack(state_)) {
        addPlaylistMenu(*menu, state_,
                        [this, track](const QUuid& id) { state_.addToPlaylist({*track}, id); });
        menu->addAction(QStringLiteral("Show in Finder"), this,
                        [url = track->url()] { revealInFileManager(url); });
        menu->addSeparator();
    }
    menu->addAction(QStringLiteral("Exit Cover Mode"), this,
                    [this] { state_.isCoverModePresented = false; });
    popUpAbove(*menu, *menu_);
}

void CoverModeView::layOut() {
    const CoverModeLayout sizes{QSizeF(size())};
    const auto whole = [](double value) { return static_cast<int>(std::lround(value)); };
    const auto place = [this](QWidget* widget, const QRect& where) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), rect(), where));
    };
    const int side = whole(sizes.coverSide);
    place(cover_, {(whole(sizes.pane) - side) / 2, (height() - side) / 2, side, side});

    const int left = whole(sizes.pane + sizes.gutter);
    const int width = std::min(whole(sizes.column), this->width() - left);
    const QSize button = favorite_->sizeHint();
    const QSize play = play_->sizeHint();
    const std::array rows{button.height(), textHeight, play.height(), timelineHeight, volumeHeight};
    int top = height();
    for (const int row : rows) {
        top -= row + rowSpacing;
    }
    top = (top + rowSpacing) / 2;

    // Glyphs, and not their hit areas, stand in line with the text.
    const int glyphInset = (button.width() - static_cast<int>(smallSymbol) - 3) / 2;
    place(favorite_, {QPoint(left - glyphInset, top), button});
    top += button.height() + rowSpacing;
    textRect_ = {left, top, std::min(width, this->width() - left - edgeMargin), textHeight};
    top += textHeight + rowSpacing;
    int x = left - glyphInset;
    for (IconButton* control : {previous_, play_, next_}) {
        const QSize size = control->sizeHint();
        place(control, {QPoint(x, top + (play.height() - size.height()) / 2), size});
        x += size.width() + controlSpacing;
    }
    top += play.height() + rowSpacing;
    // The column may reach the window's edge; its contents keep away from it.
    const int timeline =
        std::min({whole(sizes.timelineWidth), width, this->width() - left - edgeMargin});
    place(timeline_, {left, top, timeline, timelineHeight});
    top += timelineHeight + rowSpacing;
    const int volume = whole(sizes.volumeWidth);
    place(volume_, {left - glyphInset, top, volume, volumeHeight});
    place(menu_, {QPoint(left - glyphInset + volume + controlSpacing, top), menu_->sizeHint()});
}

void CoverModeView::resizeEvent(QResizeEvent*) {
    layOut();
}

void CoverModeView::showEvent(QShowEvent*) {
    layOut();
}

void CoverModeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), surface());
    const QRectF text(QStyle::visualRect(layoutDirection(), rect(), textRect_));
    drawElided(painter, QRectF(text.left(), text.top(), text.width(), titleHeight),
               HalvenorTheme::font(24, QFont::Bold), Qt::white, title_);
    drawElided(
        painter,
        QRectF(text.left(), text.top() + titleHeight, text.width(), text.height() - titleHeight),
        HalvenorTheme::font(16), QColor::fromRgbF(0.68F, 0.68F, 0.68F), artist_);
}

}  // namespace halvenor
