#include "ui/playerbar/TimeLabel.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

#include "ui/controls/TimeFormat.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr double textSize = 9.6;
constexpr double leastWidth = 30;
}  // namespace

TimeLabel::TimeLabel(const QString& accessibleName, Qt::Alignment alignment, QWidget* parent)
    : QWidget(parent), name_(accessibleName), text_(formatTime(0)), alignment_(alignment) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(name_);
    setAccessibleDescription(text_);
}

void TimeLabel::setSeconds(double seconds) {
    const QString text = formatTime(seconds);
    if (text == text_) {
        return;
    }
    const bool isOtherLength = text.size() != text_.size();
    text_ = text;
    if (isOtherLength) {
        updateGeometry();
    }
    update();
}

void TimeLabel::setSurface(std::function<QColor()> surface) {
    surface_ = std::move(surface);
    update();
}

void TimeLabel::setSurround(Surround surround) {
    surround_ = surround;
    update();
}

QSize TimeLabel::sizeHint() const {
    const QFontMetricsF metrics(HalvenorTheme::font(textSize, QFont::Light));
    return {static_cast<int>(std::ceil(std::max(leastWidth, metrics.horizontalAdvance(text_) + 1))),
            28};
}

void TimeLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), surface_());
    painter.setFont(HalvenorTheme::font(textSize, QFont::Light));
    painter.setPen(tintsOf(surround_).neutral);
    painter.drawText(rect(), static_cast<int>(alignment_ | Qt::AlignVCenter), text_);
}

}  // namespace halvenor
