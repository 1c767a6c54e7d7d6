#include "ui/controls/Spinner.h"

#include <QPainter>

#include <chrono>
#include <cmath>

#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

void paintSpinner(QPainter& painter, const QPointF& centre, double diameter, double turn,
                  const QColor& colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double weight = std::max(diameter * 0.12, 1.4);
    const double side = diameter - weight;
    const QRectF arc(centre.x() - side / 2, centre.y() - side / 2, side, side);
    QColor rail = colour;
    rail.setAlphaF(colour.alphaF() * 0.2F);
    painter.setPen(QPen(rail, weight));
    painter.drawEllipse(arc);
    painter.setPen(QPen(colour, weight, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(arc, static_cast<int>(-turn * 360 * 16), 100 * 16);
    painter.restore();
}

double spinnerTurn() {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch());
    return static_cast<double>(now.count() % 1000) / 1000;
}

Spinner::Spinner(double diameter, QWidget* parent) : QWidget(parent), diameter_(diameter) {
    timer_.setInterval(spinnerInterval);
    connect(&timer_, &QTimer::timeout, this, [this] { update(); });
    setAccessibleName(QStringLiteral("Loading"));
    resize(sizeHint());
}

QSize Spinner::sizeHint() const {
    const int side = static_cast<int>(std::ceil(diameter_)) + 2;
    return {side, side};
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintSpinner(painter, QRectF(rect()).center(), diameter_, spinnerTurn(),
                 HalvenorTheme::secondaryText());
}

void Spinner::showEvent(QShowEvent*) {
    timer_.start();
}

void Spinner::hideEvent(QHideEvent*) {
    timer_.stop();
}

}  // namespace halvenor
