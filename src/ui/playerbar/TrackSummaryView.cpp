#include "ui/playerbar/TrackSummaryView.h"

#include <QPainter>
#include <QStyle>

#include "base/Published.h"
#include "ui/controls/CoverCache.h"
#include "ui/controls/CoverPainting.h"
#include "ui/controls/ElidedText.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/PaintedButton.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int artworkSide = 50;
constexpr int gap = 12;
constexpr QSize heartRoom(30, 50);
constexpr double heartSize = 13;
}  // namespace

class ArtworkButton : public PaintedButton {
  public:
    explicit ArtworkButton(QWidget* parent) : PaintedButton(parent) {
        setToolTip(QStringLiteral("Show Playing Track Folder"));
        setAccessibleName(toolTip());
        coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { update(); });
    }
    void setArtwork(const Artwork& artwork) {
        artwork_ = artwork;
        update();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintCover(painter, rect(), artwork_, 5, 17);
        if (underMouse()) {
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(255, 255, 255, isDown() ? 12 : 26));
            painter.drawRoundedRect(rect(), 5, 5);
        }
        paintFocusRing(painter, *this, 5);
    }

  private:
    Artwork artwork_;
    Subscription coverReady_;
};

class TrackTextButton : public PaintedButton {
  public:
    explicit TrackTextButton(QWidget* parent) : PaintedButton(parent) {
        setToolTip(QStringLiteral("Copy Artist and Title"));
    }
    void setTexts(const QString& title, const QString& artist) {
        if (title != title_ || artist != artist_) {
            title_ = title;
            artist_ = artist;
            setAccessibleName(QStringLiteral("%1, %2").arg(title, artist));
            setAccessibleDescription(toolTip());
            update();
        }
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        if (isDown()) {
            painter.setOpacity(0.65);
        }
        const double middle = height() / 2.0;
        drawElided(painter, QRectF(2, middle - 18, width() - 4, 18),
                   HalvenorTheme::font(12, QFont::Medium), HalvenorTheme::highlightText(), title_);
        drawElided(painter, QRectF(2, middle, width() - 4, 18), HalvenorTheme::font(12),
                   underMouse() ? HalvenorTheme::hoverTint() : HalvenorTheme::secondaryText(),
                   artist_);
        painter.setOpacity(1);
        paintFocusRing(painter, *this, 5);
    }

  private:
    QString title_;
    QString artist_;
};

TrackSummaryView::TrackSummaryView(QWidget* parent)
    : QWidget(parent),
      artwork_(new ArtworkButton(this)),
      text_(new TrackTextButton(this)),
      favorite_(new IconButton(QStringLiteral("heart"), heartSize, QString(), this)) {
    connect(artwork_, &QAbstractButton::clicked, this, [this] {
        if (onArtworkClicked) {
            onArtworkClicked();
        }
    });
    connect(text_, &QAbstractButton::clicked, this, [this] {
        if (onTextClicked) {
            onTextClicked();
        }
    });
    connect(favorite_, &QAbstractButton::clicked, this, [this] {
        if (onFavoriteClicked) {
            onFavoriteClicked();
        }
    });
    setTrack(std::nullopt);
    setFavorite(false);
}

void TrackSummaryView::setFavorite(bool isFavorite) {
    favorite_->setSymbol(isFavorite ? QStringLiteral("heart.fill") : QStringLiteral("heart"));
    favorite_->setHelp(isFavorite ? QStringLiteral("Remove from Favorites (l)")
                                  : QStringLiteral("Add to Favorites (l)"));
    favorite_->setActive(isFavorite);
}

void TrackSummaryView::setTrack(const std::optional<Track>& track) {
    artwork_->setVisible(track.has_value());
    text_->setVisible(track.has_value());
    favorite_->setVisible(track.has_value());
    if (!track) {
        artwork_->setArtwork({});
        return;
    }
    artwork_->setArtwork(track->artworkData());
    text_->setTexts(track->title(), track->artist());
}

void TrackSummaryView::resizeEvent(QResizeEvent*) {
    const QRect artwork(0, (height() - artworkSide) / 2, artworkSide, artworkSide);
    const int textLeft = artworkSide + gap;
    const QRect text(textLeft, 0, width() - textLeft - heartRoom.width() - 4, height());
    const QRect heart(QPoint(width() - heartRoom.width(), (height() - heartRoom.height()) / 2),
                      heartRoom);
    artwork_->setGeometry(QStyle::visualRect(layoutDirection(), rect(), artwork));
    text_->setGeometry(QStyle::visualRect(layoutDirection(), rect(), text));
    favorite_->setGeometry(QStyle::visualRect(layoutDirection(), rect(), heart));
}

}  // namespace halvenor
