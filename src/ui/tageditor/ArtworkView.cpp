#include "ui/tageditor/ArtworkView.h"

#include <QPainter>

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/CoverCache.h"
#include "ui/controls/CoverPainting.h"

namespace halvenor {

ArtworkView::ArtworkView(int side, double placeholderSize, QWidget* parent)
    : QWidget(parent), placeholderSize_(placeholderSize) {
    setFixedSize(side, side);
    setAccessibleRole(*this, QAccessible::Graphic);
    setAccessibleName(QStringLiteral("Cover"));
    coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { update(); });
}

void ArtworkView::setData(const std::optional<QByteArray>& bytes) {
    artwork_ = bytes ? Artwork(*bytes) : Artwork();
    update();
}

void ArtworkView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintCover(painter, rect(), artwork_, 8, placeholderSize_);
}

}  // namespace halvenor
