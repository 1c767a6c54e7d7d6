#include "ui/controls/SegmentedPicker.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QPainter>
#include <QStyle>

#include "ui/controls/ElidedText.h"
#include "ui/controls/ExclusiveButton.h"
#include "ui/controls/FocusRing.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int pickerHeight = 30;
constexpr int inset = 2;
constexpr double cornerRadius = 7;

class Segment : public QAbstractButton {
  public:
    Segment(const QString& name, QWidget* parent) : QAbstractButton(parent) {
        setText(name);
        setAccessibleName(name);
        setCheckable(true);
        setAttribute(Qt::WA_Hover);
        setFocusPolicy(Qt::TabFocus);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool isLit = isChecked() || underMouse();
        if (isLit) {
            QColor plate = isChecked() ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
            plate.setAlphaF(isChecked() ? 0.9F : 0.05F);
            painter.setPen(Qt::NoPen);
            painter.setBrush(plate);
            painter.drawRoundedRect(rect(), cornerRadius - inset, cornerRadius - inset);
        }
        drawElided(
            painter, QRectF(rect()).adjusted(8, 0, -8, 0), HalvenorTheme::font(12, QFont::Medium),
            isChecked() ? QColor(Qt::white) : HalvenorTheme::titleText(), text(), Qt::AlignHCenter);
        paintFocusRing(painter, *this, cornerRadius - inset);
    }
};

}  // namespace

SegmentedPicker::SegmentedPicker(const QString& accessibleName, const QStringList& names,
                                 QWidget* parent)
    : QWidget(parent) {
    setAccessibleName(accessibleName);
    setFixedHeight(pickerHeight);
    auto* group = new QButtonGroup(this);
    for (const QString& name : names) {
        auto* segment = new Segment(name, this);
        group->addButton(segment);
        const auto index = static_cast<int>(segments_.size());
        connect(segment, &QAbstractButton::clicked, this, [this, index] {
            if (onChosen) {
                onChosen(index);
            }
        });
        segments_.push_back(segment);
    }
}

void SegmentedPicker::setSelected(int index) {
    for (size_t i = 0; i < segments_.size(); ++i) {
        setChosen(*segments_[i], static_cast<int>(i) == index);
    }
}

void SegmentedPicker::resizeEvent(QResizeEvent*) {
    const int count = static_cast<int>(segments_.size());
    const int room = width() - 2 * inset;
    for (int i = 0; i < count; ++i) {
        const int left = inset + room * i / count;
        const int right = inset + room * (i + 1) / count;
        segments_[static_cast<size_t>(i)]->setGeometry(QStyle::visualRect(
            layoutDirection(), rect(), QRect(left, inset, right - left, pickerHeight - 2 * inset)));
    }
}

void SegmentedPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(0.06F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(plate);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
}

}  // namespace halvenor
