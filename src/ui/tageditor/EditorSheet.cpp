#include "ui/tageditor/EditorSheet.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>

#include "ui/controls/IconButton.h"
#include "ui/controls/TextButton.h"
#include "ui/controls/TextLabel.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int headGap = 24;
constexpr int footGap = 16;
constexpr int targetSide = 32;
constexpr int buttonHeight = 32;
constexpr int leastButtonWidth = 88;
constexpr int noteLines = 3;

void enlarge(TextButton& button) {
    button.setFixedSize(std::max(button.sizeHint().width(), leastButtonWidth), buttonHeight);
}

}  // namespace

EditorSheet::EditorSheet(QWidget* window, const Form& form)
    : Overlay(window), form_(form), card_(new QWidget(this)), body_(new QWidget(card_)) {
    setAccessibleName(form.title);
    auto* column = new QVBoxLayout(card_);
    column->setContentsMargins(form.padding, form.padding, form.padding, form.padding);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addSpacing(headGap);
    column->addWidget(body_, 1);
    column->addSpacing(footGap);
    column->addWidget(makeFooter());
}

QWidget* EditorSheet::makeHeader() {
    auto* header = new QWidget(card_);
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    auto* title = new TextLabel(form_.title, HalvenorTheme::font(20, QFont::Bold),
                                &HalvenorTheme::highlightText);
    title->setLines(1);
    auto* close =
        new IconButton(QStringLiteral("xmark"), 14, QStringLiteral("Close without saving"), header);
    close->setFixedSize(targetSide, targetSide);
    close->setPlate(true);
    connect(close, &QAbstractButton::clicked, this, [this] { finish(); });
    closeButton_ = close;
    row->addWidget(title, 1);
    row->addWidget(close);
    return header;
}

QWidget* EditorSheet::makeFooter() {
    auto* footer = new QWidget(card_);
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    message_ = new TextLabel({}, HalvenorTheme::font(11), &HalvenorTheme::secondaryText);
    message_->setLines(noteLines);
    auto* close = new TextButton(form_.closeLabel, footer);
    enlarge(*close);
    connect(close, &QAbstractButton::clicked, this, [this] { finish(); });
    save_ = new TextButton(QStringLiteral("Save"), footer);
    save_->setProminent(true);
    enlarge(*save_);
    connect(save_, &QAbstractButton::clicked, this, [this] { save(); });
    row->addWidget(message_, 1);
    row->addSpacing(8);
    row->addWidget(close);
    row->addWidget(save_);
    return footer;
}

void EditorSheet::present() {
    auto* first = body_->findChild<QLineEdit*>();
    if (first != nullptr) {
        first->end(false);
        first->home(true);  // From its end, so that a long text shows its beginning.
    }
    open(first != nullptr ? first : closeButton_);
}

void EditorSheet::finish() {
    close();
    deleteLater();
}

void EditorSheet::setMessage(const std::optional<QString>& error, const QString& note) {
    message_->setText(error.value_or(note));
    message_->setColour(error ? &HalvenorTheme::titleText : &HalvenorTheme::secondaryText);
    message_->setToolTip(error ? error->toHtmlEscaped() : QString());
    if (error) {
        QAccessibleEvent event(message_, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}

void EditorSheet::setSaving(bool isSaving, bool canSave) {
    save_->setLabel(isSaving ? QStringLiteral("Saving…") : QStringLiteral("Save"));
    save_->setEnabled(canSave && !isSaving);
}

QRect EditorSheet::cardRect() const {
    return centred(form_.size);
}

void EditorSheet::layOutCard() {
    card_->setGeometry(cardRect());
}

// Fields leave Return to whatever they lie on; a button with the focus is pressed by it.
void EditorSheet::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && save_->isEnabled()) {
        save();
        return;
    }
    Overlay::keyPressEvent(event);
}

}  // namespace halvenor
