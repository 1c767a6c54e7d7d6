#include "ui/tracklist/AlbumHeaderView.h"

#include <QAction>
#include <QFontMetrics>
#include <QMenu>
#include <QPainter>
#include <QStyle>

#include "discogs/DiscogsService.h"
#include "platform/desktop/FileManager.h"
#include "state/AppState.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/Spinner.h"
#include "ui/controls/TextButton.h"
#include "ui/symbols/SymbolIcon.h"
#include "ui/tageditor/AlbumTagEditorView.h"
#include "ui/theme/HalvenorTheme.h"
#include "ui/tracklist/AlbumCoverPreview.h"
#include "ui/tracklist/CoverView.h"
#include "ui/tracklist/TrackMenu.h"

namespace halvenor {

namespace {
constexpr int edge = 25;
constexpr int coverTop = 30;
constexpr int coverSide = 140;
constexpr int textLeft = edge + coverSide + 24;
constexpr int repaintInterval = 33;  // milliseconds
}  // namespace

AlbumHeaderView::AlbumHeaderView(AppState& state, QWidget* parent)
    : QWidget(parent),
      state_(state),
      cover_(new CoverView(this)),
      mark_(new TextButton(QStringLiteral("Mark Folder"), this)),
      progress_(new Spinner(12, this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    cover_->fillMenu = [this](QMenu& menu) { fillMenu(menu); };
    progress_->hide();
    progress_->setToolTip(QStringLiteral("Reading tags"));
    progress_->setAccessibleName(QStringLiteral("Reading tags"));
    connect(mark_, &QAbstractButton::clicked, this, [this] {
        if (const auto folder = *state_.selectedFolder) {
            state_.toggleFolderMarked(*folder);
        }
    });
    hide();
    refreshTimer_.setSingleShot(true);
    refreshTimer_.setInterval(repaintInterval);
    connect(&refreshTimer_, &QTimer::timeout, this, [this] { refresh(); });

    const auto soon = [this](const auto&) { refreshSoon(); };
    const auto mark = [this](const auto&) { refreshMark(); };
    const auto progress = [this](const auto&) { refreshProgress(); };
    subscriptions_.push_back(state_.selectedFolder.subscribe(soon));
    subscriptions_.push_back(state_.openPlaylist.subscribe(soon));
    subscriptions_.push_back(state_.selectedFolder.subscribe(mark));
    subscriptions_.push_back(state_.markedFolderIDs.subscribe(mark));
    subscriptions_.push_back(state_.selectedFolder.subscribe(progress));
    subscriptions_.push_back(state_.metadataLoadingFolderID.subscribe(progress));
    refresh();
    refreshMark();
    refreshProgress();
}

void AlbumHeaderView::refreshSoon() {
    if (!refreshTimer_.isActive()) {
        refreshTimer_.start();
    }
}

void AlbumHeaderView::refresh() {
    refreshTimer_.stop();
    const auto& folder = *state_.selectedFolder;
    AlbumSummary summary = summarizeAlbum(
        *state_.playbackQueue, folder ? std::optional(folder->displayName()) : std::nullopt);
    if (const auto& playlist = *state_.openPlaylist) {
        summary.title = playlist->name;
    }
    if (summary == summary_) {
        return;
    }
    cover_->setArtwork(summary.artwork);
    summary_ = std::move(summary);
    layOut();
    update();
}

void AlbumHeaderView::refreshMark() {
    const auto& folder = *state_.selectedFolder;
    mark_->setVisible(folder.has_value());
    const bool isMarked = folder && state_.isFolderMarked(*folder);
    mark_->setSymbol(isMarked ? QStringLiteral("checkmark.circle.fill")
                              : QStringLiteral("checkmark.circle"));
    mark_->setAccessibleDescription(isMarked ? QStringLiteral("marked") : QString());
}

void AlbumHeaderView::refreshProgress() {
    const auto& folder = *state_.selectedFolder;
    const auto& loading = *state_.metadataLoadingFolderID;
    progress_->setVisible(folder && loading && *loading == folder->id());
    layOut();
}

QString AlbumHeaderView::itemsLine() const {
    QStringList items{summary_.years, formatAlbumDuration(summary_.duration),
                      summary_.formatDescription};
    items.removeAll(QString());
    return items.join(QStringLiteral("  /  "));
}

QRect AlbumHeaderView::textRect() const {
    return {textLeft, coverTop, width() - textLeft - edge, coverSide};
}

// Measures text, so it waits until there is something to show.
void AlbumHeaderView::layOut() {
    if (isHidden()) {
        return;
    }
    const auto place = [this](QWidget* widget, const QRect& rect) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
    };
    place(cover_, {edge, coverTop, coverSide, coverSide});
    const QRect text = textRect();
    const QSize mark = mark_->sizeHint();
    place(mark_, {QPoint(text.left(), text.bottom() + 1 - mark.height()), mark});
    const int line = QFontMetrics(HalvenorTheme::font(12)).horizontalAdvance(itemsLine());
    const QSize sign = progress_->sizeHint();
    place(progress_, {QPoint(text.left() + line + 12, text.top() + 70 - sign.height() / 2), sign});
}

void AlbumHeaderView::showEvent(QShowEvent*) {
    layOut();
}

void AlbumHeaderView::resizeEvent(QResizeEvent*) {
    layOut();
}

void AlbumHeaderView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(
        rect(), HalvenorTheme::pane(HalvenorTheme::windowAlbumHeaderSurface(),
                                    HalvenorTheme::pane(HalvenorTheme::windowTracklistSurface())));
    const QRect text = textRect();
    const auto line = [&](int top, int height) {
        return QRectF(QStyle::visualRect(
            layoutDirection(), rect(), QRect(text.left(), text.top() + top, text.width(), height)));
    };
    drawElided(painter, line(0, 32), HalvenorTheme::font(24, QFont::Bold),
               HalvenorTheme::highlightText(), summary_.title);
    drawElided(painter, line(34, 22), HalvenorTheme::font(15),
               HalvenorTheme::isLight() ? QColor(50, 50, 50) : QColor(190, 190, 190),
               summary_.artist);
    drawElided(painter, line(60, 20), HalvenorTheme::font(12), HalvenorTheme::secondaryText(),
               itemsLine());
}

void AlbumHeaderView::fillMenu(QMenu& menu) {
    const TrackList tracks = *state_.playbackQueue;
    const auto folder = *state_.selectedFolder;
    const auto add = [&](const QString& label, const QString& symbol, bool isEnabled,
                         std::function<void()> action) {
        QAction* item = menu.addAction(symbolIcon(symbol, menu), label);
        item->setEnabled(isEnabled);
        connect(item, &QAction::triggered, this, std::move(action));
    };
    add(QStringLiteral("Show Cover"), QStringLiteral("photo"), summary_.artwork.isPresent(),
        [this] { showCover(); });
    add(QStringLiteral("Play Album"), QStringLiteral("play.circle"), !tracks.isEmpty(),
        [this, tracks] { state_.play(tracks.first()); });
    add(QStringLiteral("Open in Finder"), QStringLiteral("folder"), folder.has_value(),
        [folder] { openInFileManager(folder->url()); });
    add(QStringLiteral("Search on Discogs"), QStringLiteral("record.circle"), !tracks.isEmpty(),
        [tracks] {
            const Track& first = tracks.first();
            openInBrowser(
                DiscogsService::shared().albumSearchUrl(first.albumArtist(), first.album()));
        });
    add(QStringLiteral("Edit Tags"), QStringLiteral("doc.badge.ellipsis"), folder.has_value(),
        [this] { editTags(); });
}

void AlbumHeaderView::editTags() {
    const TrackList& tracks = *state_.playbackQueue;
    new AlbumTagEditorView(window(), state_, {tracks.begin(), tracks.end()});
}

void AlbumHeaderView::showCover() {
    auto* preview = new AlbumCoverPreview(summary_.artwork, window());
    preview->setAttribute(Qt::WA_DeleteOnClose);
    preview->show();
}

}  // namespace halvenor
