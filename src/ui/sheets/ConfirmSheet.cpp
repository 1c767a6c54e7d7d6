#include "ui/sheets/ConfirmSheet.h"

#include "ui/controls/TextButton.h"

namespace halvenor {

ConfirmSheet::ConfirmSheet(QWidget* window, const UserPrompts::Confirmation& question,
                           std::function<void(bool)> done)
    : Sheet(window), reply_(std::move(done)) {
    setText({}, question.message, question.informativeText);
    addButton(QStringLiteral("Cancel"), [this] { answer(false); });
    TextButton* accept = addButton(question.acceptLabel, [this] { answer(true); });
    accept->setProminent(true);
    open(accept);
}

void ConfirmSheet::answer(bool isAccepted) {
    close();
    deleteLater();
    reply_.give(isAccepted);
}

}  // namespace halvenor
