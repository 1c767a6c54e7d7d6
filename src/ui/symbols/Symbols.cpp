#include "ui/symbols/Symbols.h"

#include <QCache>
#include <QHashFunctions>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

// Resources of a static library are registered by hand, and not from inside a namespace.
static void registerSymbols() {
    Q_INIT_RESOURCE(symbols);
}

namespace halvenor {

namespace {

struct SymbolKey {
    QString name;
    int deviceSide;
    int ratioPermille;
    QRgb colour;

    bool operator==(const SymbolKey&) const = default;
};

size_t qHash(const SymbolKey& key, size_t seed) {
    return qHashMulti(seed, key.name, key.deviceSide, key.ratioPermille, key.colour);
}

QImage render(const QString& resource, int deviceSide) {
    [[maybe_unused]] static const bool isRegistered = (registerSymbols(), true);
    QImage image(deviceSide, deviceSide, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(resource);
    if (renderer.isValid()) {
        QPainter painter(&image);
        renderer.render(&painter, QRectF(image.rect()));
    }
    return image;
}

QPixmap renderTinted(const SymbolKey& key, const QColor& colour) {
    QImage image = render(QStringLiteral(":/symbols/%1.svg").arg(key.name), key.deviceSide);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    painter.end();
    image.setDevicePixelRatio(key.ratioPermille / 1000.0);
    return QPixmap::fromImage(image);
}

}  // namespace

double Symbols::side(double size) {
    return std::round(size * 1.38);
}

QPixmap Symbols::pixmap(const QString& name, double side, double devicePixelRatio,
                        const QColor& colour) {
    // Never destroyed: pixmaps must not outlive the application object.
    static auto& cache = *new QCache<SymbolKey, QPixmap>(qsizetype{4} * 1024 * 1024);  // bytes
    const int deviceSide = static_cast<int>(std::lround(side * devicePixelRatio));
    const SymbolKey key{name, deviceSide, static_cast<int>(std::lround(devicePixelRatio * 1000)),
                        colour.rgba()};
    if (const QPixmap* known = cache.object(key)) {
        return *known;
    }
    const QPixmap made = renderTinted(key, colour);
    cache.insert(key, new QPixmap(made), qsizetype{4} * deviceSide * deviceSide);
    return made;
}

void Symbols::draw(QPainter& painter, const QString& name, double size, const QPointF& centre,
                   const QColor& colour) {
    const double ratio = painter.device()->devicePixelRatioF();
    const double edge = side(size);
    const auto toDevicePixel = [ratio](double place) { return std::round(place * ratio) / ratio; };
    const QPointF corner(toDevicePixel(centre.x() - edge / 2),
                         toDevicePixel(centre.y() - edge / 2));
    painter.drawPixmap(corner, pixmap(name, edge, ratio, colour));
}

QPixmap Symbols::applicationIcon(int side) {
    return QPixmap::fromImage(render(QStringLiteral(":/symbols/halvenor.svg"), side));
}

}  // namespace halvenor
