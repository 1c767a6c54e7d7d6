#include "ui/sheets/FileDialogs.h"

#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>

#include <memory>

#include "ui/sheets/Reply.h"

namespace halvenor {

namespace {

void configure(QFileDialog& dialog, const FileQuestion& question) {
    switch (question.kind) {
        case FileQuestion::Kind::folder:
            dialog.setFileMode(QFileDialog::Directory);
            dialog.setOption(QFileDialog::ShowDirsOnly);
            break;
        case FileQuestion::Kind::existingFile:
            dialog.setFileMode(QFileDialog::ExistingFile);
            break;
        case FileQuestion::Kind::newFile:
            dialog.setFileMode(QFileDialog::AnyFile);
            dialog.setAcceptMode(QFileDialog::AcceptSave);
            break;
    }
    if (!question.nameFilter.isEmpty()) {
        dialog.setNameFilter(question.nameFilter);
    }
    if (!question.suffix.isEmpty()) {
        dialog.setDefaultSuffix(question.suffix);
    }
    if (!question.suggestedName.isEmpty()) {
        dialog.selectFile(question.suggestedName);
    }
}

// Above all else in the dialog: the place that a layout keeps for a menu bar.
void addMessage(QFileDialog& dialog, const QString& message) {
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    auto* label = new QLabel(message, &dialog);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setContentsMargins(12, 12, 12, 4);
    dialog.layout()->setMenuBar(label);
    dialog.setAccessibleDescription(message);
}

}  // namespace

QFileDialog* askForFile(QWidget* window, const FileQuestion& question,
                        std::function<void(std::optional<FileUrl>)> done) {
    auto* dialog = new QFileDialog(window, question.title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (!question.message.isEmpty()) {
        addMessage(*dialog, question.message);
    }
    configure(*dialog, question);
    // The connection holds the reply: it is given at the latest when the dialog goes.
    const auto reply = std::make_shared<Reply<std::optional<FileUrl>>>(std::move(done));
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog, reply](int result) {
        const QStringList chosen = dialog->selectedFiles();
        reply->give(result == QDialog::Accepted && !chosen.isEmpty()
                        ? std::optional(FileUrl(QFile::encodeName(chosen.first())))
                        : std::nullopt);
    });
    dialog->open();
    return dialog;
}

}  // namespace halvenor
