#pragma once

#include <QObject>

#include <functional>

#include "ui/mainwindow/KeyMap.h"

class QWidget;

namespace halvenor {

/// Sees every key press of one window before its views do, and takes those that the key map names.
/// While a text field has the focus, or a menu is open, all keys pass.
class KeyMonitor : public QObject {
  public:
    /// @param window whose keys are watched; sheets that belong to it are watched too
    explicit KeyMonitor(QWidget* window);

    std::function<void(WindowAction)> onAction;

    bool eventFilter(QObject* receiver, QEvent* event) override;

  private:
    bool isOurs(const QObject* receiver) const;

    QWidget* window_;
};

}  // namespace halvenor
