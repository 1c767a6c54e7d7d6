#include "ui/controls/ValueControl.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QKeyEvent>

#include <algorithm>

namespace halvenor {

namespace {

class AccessibleValueControl : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleValueControl(ValueControl* control)
        : QAccessibleWidget(control, QAccessible::Slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) {
            return static_cast<QAccessibleValueInterface*>(this);
        }
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Value && control()->describeValue) {
            return control()->describeValue(control()->value());
        }
        return QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return control()->value(); }
    void setCurrentValue(const QVariant& value) override { control()->wish(value.toDouble()); }
    QVariant maximumValue() const override { return control()->upper(); }
    QVariant minimumValue() const override { return control()->lower(); }
    QVariant minimumStepSize() const override { return 0.0; }

  private:
    ValueControl* control() const { return static_cast<ValueControl*>(widget()); }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* control = dynamic_cast<ValueControl*>(object);
    return control != nullptr ? new AccessibleValueControl(control) : nullptr;
}

}  // namespace

ValueControl::ValueControl(const QString& accessibleName, QWidget* parent) : QWidget(parent) {
    [[maybe_unused]] static const bool isInstalled =
        (QAccessible::installFactory(&makeAccessible), true);
    setAccessibleName(accessibleName);
    setFocusPolicy(Qt::TabFocus);
}

void ValueControl::holdRange(double lower, double upper) {
    lower_ = lower;
    upper_ = upper;
}

void ValueControl::wish(double value) {
    if (onValueWished) {
        onValueWished(std::clamp(value, lower_, std::max(lower_, upper_)));
    }
}

void ValueControl::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            wish(value_ - step_);
            break;
        case Qt::Key_Right:
        case Qt::Key_Up:
            wish(value_ + step_);
            break;
        case Qt::Key_Home:
            wish(lower_);
            break;
        case Qt::Key_End:
            wish(upper_);
            break;
        default:
            event->ignore();
    }
}

}  // namespace halvenor
