#include "ui/settings/SettingsPage.h"

#include <QHBoxLayout>

#include "ui/controls/SymbolView.h"
#include "ui/controls/TextLabel.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int sideMargin = 23;
constexpr int spaceAboveHeader = 16;
}  // namespace

QWidget* makeSectionHeader(const QString& text, const QString& symbol) {
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    if (!symbol.isEmpty()) {
        row->addWidget(new SymbolView(symbol, 13, &HalvenorTheme::accent));
    }
    row->addWidget(
        new TextLabel(text, HalvenorTheme::font(13, QFont::Bold), &HalvenorTheme::highlightText),
        1);
    return header;
}

SettingsPage::SettingsPage() : column_(new QVBoxLayout(this)) {
    column_->setContentsMargins(sideMargin, 8, sideMargin, 16);
    column_->setSpacing(8);
}

void SettingsPage::addHeader(const QString& text, const QString& symbol) {
    if (column_->count() > 0) {
        column_->addSpacing(spaceAboveHeader - column_->spacing());
    }
    column_->addWidget(makeSectionHeader(text, symbol));
}

TextLabel* SettingsPage::addNote(const QString& text) {
    auto* note = new TextLabel(text, HalvenorTheme::font(11), &HalvenorTheme::secondaryText);
    note->setWordWrap(true);
    column_->addWidget(note);
    return note;
}

}  // namespace halvenor
