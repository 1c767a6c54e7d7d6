#include "ui/settings/SettingsRow.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/controls/SymbolView.h"
#include "ui/controls/TextLabel.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

SettingsRow::SettingsRow(const QString& symbol, const QString& text)
    : row_(new QHBoxLayout(this)), texts_(new QVBoxLayout) {
    row_->setContentsMargins(12, 6, 8, 6);
    row_->setSpacing(10);
    texts_->setSpacing(2);
    setMinimumHeight(44);
    if (!symbol.isEmpty()) {
        row_->addWidget(new SymbolView(symbol, 14, &HalvenorTheme::accent));
    }
    auto* label = new TextLabel(text, HalvenorTheme::font(12), &HalvenorTheme::titleText);
    label->setElideMode(Qt::ElideMiddle);
    texts_->addWidget(label);
    row_->addLayout(texts_, 1);
}

void SettingsRow::setRemark(const QString& remark) {
    texts_->addWidget(new TextLabel(remark, HalvenorTheme::font(11), &HalvenorTheme::warningText));
}

void SettingsRow::addControl(QWidget* control) {
    row_->addWidget(control);
}

void SettingsRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor plate = HalvenorTheme::hoverTint();
    plate.setAlphaF(0.045F);
    painter.setBrush(plate);
    painter.drawRoundedRect(rect(), 8, 8);
}

}  // namespace halvenor
