#include "ui/tracklist/TrackListPane.h"

#include <QPainter>

#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/Spinner.h"
#include "ui/symbols/Symbols.h"
#include "ui/tageditor/TagEditorView.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/AlbumHeaderView.h"
#include "ui/tracklist/TrackListView.h"

namespace halvenor {

using namespace std::chrono_literals;

TrackListPane::TrackListPane(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      header_(new AlbumHeaderView(state, this)),
      list_(new TrackListView(state, this)),
      spinner_(new Spinner(22, this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    spinner_->hide();
    spinnerDelay_.setSingleShot(true);
    spinnerDelay_.setInterval(150ms);  // What is there sooner needs no sign.
    connect(&spinnerDelay_, &QTimer::timeout, this, [this] { spinner_->setVisible(isLoading()); });
    list_->onShowTagInfo = [this] { new TagEditorView(window(), state_); };
    const auto emptiness = [this](const auto&) { refreshEmptiness(); };
    subscriptions_.push_back(state_.playbackQueue.subscribe([this](const auto&) { showQueue(); }));
    subscriptions_.push_back(state_.selectedFolder.subscribe(emptiness));
    subscriptions_.push_back(state_.loadingFolderIDs.subscribe(emptiness));
    subscriptions_.push_back(state_.rootFolders.subscribe(emptiness));
    subscriptions_.push_back(state_.openPlaylist.subscribe(emptiness));
    subscriptions_.push_back(state_.isScanning.subscribe(emptiness));
    showQueue();
}

void TrackListPane::showQueue() {
    if (list_->showTracks(*state_.playbackQueue, source())) {
        header_->refresh();
    } else {
        header_->refreshSoon();
    }
    refreshEmptiness();
}

QByteArray TrackListPane::source() const {
    if (const auto& playlist = *state_.openPlaylist) {
        return playlist->id.toByteArray();
    }
    const auto& folder = *state_.selectedFolder;
    return folder ? folder->id() : QByteArray();
}

bool TrackListPane::isLoading() const {
    const auto& folder = *state_.selectedFolder;
    const bool isReading = folder ? state_.isFolderLoading(*folder) : *state_.isScanning;
    return state_.playbackQueue->isEmpty() && isReading;
}

void TrackListPane::refreshEmptiness() {
    const bool hasTracks = !state_.playbackQueue->isEmpty();
    header_->setVisible(hasTracks);
    list_->setVisible(hasTracks);
    if (hasTracks) {
        spinnerDelay_.stop();
        spinner_->hide();
        return;
    }
    if (!isLoading()) {
        spinner_->hide();
    } else if (spinner_->isHidden() && !spinnerDelay_.isActive()) {
        spinnerDelay_.start();
    }
    update();
}

QString TrackListPane::emptyText() const {
    if (isLoading()) {
        return {};
    }
    if (*state_.openPlaylist) {
        return QStringLiteral("No tracks in this playlist");
    }
    if (state_.rootFolders->empty()) {
        return {};
    }
    return *state_.selectedFolder ? QStringLiteral("No tracks in this folder")
                                  : QStringLiteral("Choose a folder to see its tracks");
}

void TrackListPane::resizeEvent(QResizeEvent*) {
    constexpr auto headerHeight = static_cast<int>(HalvenorTheme::albumHeaderHeight);
    header_->setGeometry(0, 0, width(), headerHeight);
    list_->setGeometry(0, headerHeight, width(), height() - headerHeight);
    spinner_->move(rect().center() - spinner_->rect().center());
}

void TrackListPane::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), HalvenorTheme::pane(HalvenorTheme::windowTracklistSurface()));
    if (!state_.playbackQueue->isEmpty() || isLoading()) {
        return;
    }
    QColor ghost = HalvenorTheme::hoverTint();
    ghost.setAlphaF(0.1F);
    const QPointF middle = QRectF(rect()).center();
    Symbols::draw(painter, QStringLiteral("music.note"), 64, middle - QPointF(0, 24), ghost);
    drawElided(painter, QRectF(24, middle.y() + 36, width() - 48, 24), HalvenorTheme::font(13),
               HalvenorTheme::inactiveText(), emptyText(), Qt::AlignHCenter);
}

}  // namespace halvenor
