#include "ui/sheets/ErrorSheet.h"

#include "ui/controls/TextButton.h"

namespace halvenor {

ErrorSheet::ErrorSheet(QWidget* window, const QString& title)
    : Sheet(window),
      title_(title),
      confirm_(addButton(QStringLiteral("OK"), [this] { cancel(); })) {
    confirm_->setProminent(true);
}

void ErrorSheet::present(const QString& message) {
    setText(QStringLiteral("exclamationmark.triangle"), title_, message);
    open(confirm_);
}

void ErrorSheet::cancel() {
    dismiss();
    if (onDismissed) {
        onDismissed();
    }
}

void presentError(QWidget* window, const QString& title, const QString& message) {
    auto* sheet = new ErrorSheet(window, title);
    sheet->onDismissed = [sheet] { sheet->deleteLater(); };
    sheet->present(message);
}

}  // namespace halvenor
