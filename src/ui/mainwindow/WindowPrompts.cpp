#include "ui/mainwindow/WindowPrompts.h"

#include <QFileDialog>

#include <utility>

#include "state/AppState.h"
#include "ui/sheets/ConfirmSheet.h"
#include "ui/sheets/FileDialogs.h"

namespace halvenor {

WindowPrompts::WindowPrompts(AppState& state, QWidget& window) : state_(state), window_(window) {
    state_.setUserPrompts(this);
}

WindowPrompts::~WindowPrompts() {
    state_.setUserPrompts(nullptr);
    for (const QPointer<QWidget>& question : std::exchange(open_, {})) {
        delete question;
    }
}

void WindowPrompts::chooseFolder(const QString& message,
                                 std::function<void(std::optional<FileUrl>)> done) {
    const QString title =
        message.isEmpty() ? QStringLiteral("Add Folder") : QStringLiteral("Choose Folder");
    keep(askForFile(&window_, {FileQuestion::Kind::folder, title, message}, std::move(done)));
}

void WindowPrompts::confirm(const Confirmation& question, std::function<void(bool)> done) {
    keep(new ConfirmSheet(&window_, question, std::move(done)));
}

void WindowPrompts::keep(QWidget* question) {
    std::erase_if(open_, [](const QPointer<QWidget>& old) { return old == nullptr; });
    open_.emplace_back(question);
}

}  // namespace halvenor
