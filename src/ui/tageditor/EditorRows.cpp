#include "ui/tageditor/EditorRows.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/controls/TextLabel.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int fieldHeight = 32;
constexpr int valueHeight = 20;

class SelectableValue : public QLineEdit {
  public:
    SelectableValue(const QString& text, Qt::TextElideMode elision, QWidget* parent)
        : QLineEdit(text, parent), elision_(elision) {
        setReadOnly(true);
        setFrame(false);
        setFont(HalvenorTheme::font(12));
        setFixedHeight(valueHeight);
        setCursorPosition(0);
        alignToLayout();
    }

  protected:
    void changeEvent(QEvent* event) override {
        QLineEdit::changeEvent(event);
        if (event->type() == QEvent::LayoutDirectionChange) {
            alignToLayout();
        }
    }
    void paintEvent(QPaintEvent* event) override {
        const QFontMetricsF metrics(font());
        if (hasFocus() || metrics.horizontalAdvance(text()) <= width()) {
            QLineEdit::paintEvent(event);
            return;
        }
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::Text));
        painter.drawText(QRectF(rect()), static_cast<int>(alignment()) | Qt::TextSingleLine,
                         metrics.elidedText(text(), elision_, width()));
    }
    void resizeEvent(QResizeEvent* event) override {
        QLineEdit::resizeEvent(event);
        const bool isCut = QFontMetricsF(font()).horizontalAdvance(text()) > width();
        setToolTip(isCut ? text().toHtmlEscaped() : QString());
    }

  private:
    // Under its caption; the toolkit would go by the direction of the text.
    void alignToLayout() {
        const bool isMirrored = layoutDirection() == Qt::RightToLeft;
        setAlignment((isMirrored ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute |
                     Qt::AlignVCenter);
        // What the toolkit keeps free at both ends, and for the cursor behind a text at the right.
        setTextMargins(-2, 0, isMirrored ? -4 : -2, 0);
    }

    Qt::TextElideMode elision_;
};

QVBoxLayout& stack(QWidget& row, const QString& title, double size) {
    auto* column = new QVBoxLayout(&row);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(EditableDetailRow::captionGap);
    auto* caption = new TextLabel(title, HalvenorTheme::font(size), &HalvenorTheme::secondaryText);
    caption->setLines(1);
    column->addWidget(caption);
    return *column;
}

}  // namespace

EditableDetailRow::EditableDetailRow(const QString& title, const QString& text,
                                     const QString& prompt, QWidget* parent)
    : QWidget(parent), field_(new QLineEdit(text, this)) {
    field_->setPlaceholderText(prompt);
    field_->setAccessibleName(title);
    field_->setAccessibleDescription(prompt);
    field_->setFont(HalvenorTheme::font(13));
    field_->setTextMargins(6, 0, 6, 0);
    field_->setFixedHeight(fieldHeight);
    field_->setCursorPosition(0);
    connect(field_, &QLineEdit::textChanged, this, [this](const QString& now) {
        if (onEdited) {
            onEdited(now);
        }
    });
    stack(*this, title, 12).addWidget(field_);
}

DetailRow::DetailRow(const QString& title, const QString& value, Qt::TextElideMode elision,
                     QWidget* parent)
    : QWidget(parent) {
    auto* text = new SelectableValue(value, elision, this);
    text->setAccessibleName(title);
    stack(*this, title, 11).addWidget(text);
}

QString multiplePrompt(bool isMultiple) {
    return isMultiple ? QStringLiteral("<multiple>") : QString();
}

}  // namespace halvenor
