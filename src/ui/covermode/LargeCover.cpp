#include "ui/covermode/LargeCover.h"

#include <QPainter>

#include "ui/controls/CoverCache.h"
#include "ui/controls/FocusRing.h"
#include "ui/symbols/Symbols.h"

namespace halvenor {

namespace {
constexpr double cornerRadius = 10;
constexpr double noteSize = 96;
}  // namespace

LargeCover::LargeCover(QWidget* parent) : PaintedButton(parent) {
    setToolTip(QStringLiteral("Exit Cover Mode (c)"));
    setAccessibleName(toolTip());
    coverReady_ = CoverCache::shared().changed.subscribe([this](bool) { update(); });
}

void LargeCover::setArtwork(const Artwork& artwork) {
    artwork_ = artwork;
    update();
}

void LargeCover::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPixmap cover =
        CoverCache::shared().find(artwork_, {size(), devicePixelRatioF(), cornerRadius, true});
    if (cover.isNull()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 14));
        painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
        Symbols::draw(painter, QStringLiteral("music.note"), noteSize, QRectF(rect()).center(),
                      QColor(255, 255, 255, 60));
    } else {
        painter.drawPixmap(0, 0, cover);
    }
    paintFocusRing(painter, *this, cornerRadius);
}

}  // namespace halvenor
