#include "ui/controls/AccessibleRole.h"

#include <QAccessibleWidget>
#include <QVariant>
#include <QWidget>

namespace halvenor {

namespace {

constexpr const char* roleProperty = "accessibleRole";

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    const QVariant role = object->property(roleProperty);
    if (!role.isValid() || !object->isWidgetType()) {
        return nullptr;
    }
    return new QAccessibleWidget(static_cast<QWidget*>(object),
                                 static_cast<QAccessible::Role>(role.toInt()));
}

}  // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    [[maybe_unused]] static const bool isInstalled =
        (QAccessible::installFactory(&makeAccessible), true);
    widget.setProperty(roleProperty, static_cast<int>(role));
}

}  // namespace halvenor
