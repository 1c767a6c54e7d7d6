// Renders a drawing into square pictures, one for each edge length.
//
// Usage: halvenor-rendericon DRAWING.svg {PIXELS PICTURE.png}...
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

namespace {

bool render(QSvgRenderer& drawing, int pixels, const QString& file) {
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    drawing.render(&painter);
    painter.end();
    return picture.save(file, "PNG");
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QSvgRenderer drawing(arguments.value(1));
    if (arguments.size() < 4 || arguments.size() % 2 != 0 || !drawing.isValid()) {
        std::fputs("usage: halvenor-rendericon DRAWING.svg {PIXELS PICTURE.png}...\n", stderr);
        return 2;
    }
    for (qsizetype i = 2; i < arguments.size(); i += 2) {
        const int pixels = arguments[i].toInt();
        if (pixels <= 0 || !render(drawing, pixels, arguments[i + 1])) {
            std::fprintf(stderr, "%s can't be written\n", qPrintable(arguments[i + 1]));
            return 1;
        }
    }
    return 0;
}
