#pragma once

#include <functional>

#include "ui/controls/Surround.h"
#include "ui/controls/ThinSliderGeometry.h"
#include "ui/controls/ValueControl.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

/// A slider of a thin bar and a small knob. A press takes the knob to the pointer and a drag takes
/// it along; every step of either is reported.
///
/// The knob stands where setValue says. Setting a value repaints only if the knob moves by a device
/// pixel, and then only where it was and is.
class ThinSlider : public ValueControl {
  public:
    /// How large its parts are, in device-independent pixels.
    struct Metrics {
        double knobDiameter;
        double barHeight;
    };
    static constexpr Metrics thin{9.6, 2.4};

    ThinSlider(const QString& accessibleName, QWidget* parent, const Metrics& metrics = thin);

    void setRange(double lower, double upper);
    void setValue(double value);
    /// How many device pixels the knob would go to stand at `value`.
    int knobTravel(double value) const;
    /// The colour of the pane it lies on, which it paints itself.
    void setSurface(std::function<QColor()> surface);
    void setSurround(Surround surround);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    ThinSliderGeometry geometryNow() const;
    double knobCentre() const;
    int devicePixelAt(double value) const;
    int knobDevicePixel() const { return devicePixelAt(value()); }
    void updateKnob();

    Metrics metrics_;
    Surround surround_ = Surround::theme;
    double paintedCentre_ = 0;
    int paintedDevicePixel_ = -1;
    std::function<QColor()> surface_ = &HalvenorTheme::windowBackdrop;
    bool isHovering_ = false;
    bool isDragging_ = false;
};

}  // namespace halvenor
