#include "ui/waveform/EnvelopePath.h"

#include <algorithm>

namespace halvenor {

QPainterPath envelopePath(const QList<float>& peaks, double width, double height) {
    QPainterPath path;
    const qsizetype count = peaks.size();
    if (count < 2) {
        return path;
    }
    const double middle = height * 0.5;
    const double step = width / static_cast<double>(count - 1);
    const auto half = [&](qsizetype i) {
        return std::max(middle * static_cast<double>(peaks[i]) * 0.95, 2.0);
    };
    path.moveTo(0, middle);
    for (qsizetype i = 0; i < count; ++i) {
        path.lineTo(step * static_cast<double>(i), middle - half(i));
    }
    for (qsizetype i = count - 1; i >= 0; --i) {
        path.lineTo(step * static_cast<double>(i), middle + half(i));
    }
    path.closeSubpath();
    return path;
}

}  // namespace halvenor
