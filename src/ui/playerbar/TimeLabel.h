#pragma once

#include <QWidget>

#include <functional>

#include "ui/controls/Surround.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

/// A time in the player bar. It repaints only when its digits change.
class TimeLabel : public QWidget {
  public:
    /// @param alignment towards the timeline that it stands beside
    TimeLabel(const QString& accessibleName, Qt::Alignment alignment, QWidget* parent);

    void setSeconds(double seconds);
    const QString& text() const { return text_; }
    void setSurface(std::function<QColor()> surface);
    void setSurround(Surround surround);
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString name_;
    QString text_;
    Qt::Alignment alignment_;
    Surround surround_ = Surround::theme;
    std::function<QColor()> surface_ = &HalvenorTheme::windowBackdrop;
};

}  // namespace halvenor
