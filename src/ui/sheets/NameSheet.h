#pragma once

#include "ui/sheets/Sheet.h"

class QLineEdit;

namespace halvenor {

/// Asks for a name. Return accepts and Escape cancels, as the two buttons do. Shown as soon as it
/// is made; it deletes itself when it is done with.
class NameSheet : public Sheet {
  public:
    struct Wording {
        QString title;
        QString acceptLabel;
        /// What the field is called, and shows while it is empty.
        QString fieldName;
    };

    /// @param name what stands in the field at first, selected
    /// @param onAccepted called with the name as it was typed, and never if it is cancelled
    NameSheet(QWidget* window, const Wording& wording, const QString& name,
              std::function<void(const QString&)> onAccepted);

  protected:
    void cancel() override { finish(); }

  private:
    void accept();
    void finish();

    QLineEdit* name_;
    std::function<void(const QString&)> onAccepted_;
};

}  // namespace halvenor
