#include "ui/controls/CoverCache.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

#include "base/MainThread.h"

namespace halvenor {

namespace {

constexpr qsizetype cacheBytes = qsizetype{24} * 1024 * 1024;

QSize deviceSize(const CoverShape& shape) {
    return (QSizeF(shape.size) * shape.devicePixelRatio).toSize();
}

QImage readScaled(const QByteArray& bytes, const CoverShape& shape) {
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize wanted = deviceSize(shape);
    const QSize natural = reader.size();
    const bool isTurned = (reader.transformation() & QImageIOHandler::TransformationRotate90) != 0;
    if (natural.isValid() && !isTurned) {
        const auto mode = shape.isCropped ? Qt::KeepAspectRatioByExpanding : Qt::IgnoreAspectRatio;
        const QSize scaled = natural.scaled(wanted, mode);
        if (scaled.width() < natural.width()) {
            reader.setScaledSize(scaled);
        }
    }
    return reader.read();
}

}  // namespace

QImage decodeCover(const QByteArray& bytes, const CoverShape& shape) {
    const QImage image = readScaled(bytes, shape);
    const QSize wanted = deviceSize(shape);
    if (image.isNull() || wanted.isEmpty()) {
        return {};
    }
    const auto mode = shape.isCropped ? Qt::KeepAspectRatioByExpanding : Qt::IgnoreAspectRatio;
    const QImage scaled = image.scaled(wanted, mode, Qt::SmoothTransformation);
    QImage result(wanted, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = shape.cornerRadius * shape.devicePixelRatio;
    QBrush brush(scaled);
    brush.setTransform(QTransform::fromTranslate((wanted.width() - scaled.width()) / 2,
                                                 (wanted.height() - scaled.height()) / 2));
    painter.setPen(Qt::NoPen);
    painter.setBrush(brush);
    painter.drawRoundedRect(QRectF(result.rect()), radius, radius);
    painter.end();
    result.setDevicePixelRatio(shape.devicePixelRatio);
    return result;
}

CoverCache& CoverCache::shared() {
    return applicationOwned<CoverCache>();
}

CoverCache::CoverCache() : entries_(cacheBytes) {
    worker_.setMaxThreadCount(1);
    worker_.setExpiryTimeout(2000);
}

QPixmap CoverCache::find(const Artwork& artwork, const CoverShape& shape) {
    if (!artwork.isPresent()) {
        return {};
    }
    const Key key{artwork.identity(), shape};
    if (const Entry* entry = entries_.object(key)) {
        return entry->pixmap;
    }
    if (!pending_.contains(key)) {
        pending_.insert(key);
        worker_.start([key, artwork] {
            const QImage image = decodeCover(artwork.bytes(), key.shape);
            postToMainThread([key, artwork, image] { shared().store(key, artwork, image); });
        });
    }
    return {};
}

void CoverCache::store(const Key& key, const Artwork& artwork, const QImage& image) {
    pending_.remove(key);
    const qsizetype cost = std::max<qsizetype>(image.sizeInBytes(), 1);
    entries_.insert(key, new Entry{artwork, QPixmap::fromImage(image)}, std::min(cost, cacheBytes));
    changed = true;
}

}  // namespace halvenor
