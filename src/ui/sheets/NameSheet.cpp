#include "ui/sheets/NameSheet.h"

#include <QLineEdit>

#include "ui/controls/TextButton.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

NameSheet::NameSheet(QWidget* window, const Wording& wording, const QString& name,
                     std::function<void(const QString&)> onAccepted)
    : Sheet(window), name_(new QLineEdit(name, this)), onAccepted_(std::move(onAccepted)) {
    setText({}, wording.title);
    name_->setPlaceholderText(wording.fieldName);
    name_->setAccessibleName(wording.fieldName);
    name_->setFont(HalvenorTheme::font(13));
    name_->setTextMargins(6, 0, 6, 0);
    name_->selectAll();
    setField(name_);
    connect(name_, &QLineEdit::returnPressed, this, [this] { accept(); });
    addButton(QStringLiteral("Cancel"), [this] { finish(); });
    addButton(wording.acceptLabel, [this] { accept(); })->setProminent(true);
    open(name_);
}

void NameSheet::accept() {
    const QString name = name_->text();
    finish();
    onAccepted_(name);
}

void NameSheet::finish() {
    close();
    deleteLater();
}

}  // namespace halvenor
