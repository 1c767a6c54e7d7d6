#pragma once

#include "ui/sheets/Sheet.h"

namespace halvenor {

/// A message that lies over the window's content until it is dismissed, by its button, Return or
/// Escape.
class ErrorSheet : public Sheet {
  public:
    ErrorSheet(QWidget* window, const QString& title);

    std::function<void()> onDismissed;

    /// Shows `message`, in the place of one that is showing.
    void present(const QString& message);
    /// Goes away without telling.
    void dismiss() { close(); }

  protected:
    void cancel() override;

  private:
    QString title_;
    TextButton* confirm_;
};

/// Shows one message on a sheet of its own, which goes when it is dismissed.
void presentError(QWidget* window, const QString& title, const QString& message);

}  // namespace halvenor
