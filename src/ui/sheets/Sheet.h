#pragma once

#include <functional>
#include <vector>

#include "ui/sheets/Overlay.h"

namespace halvenor {

class TextButton;

/// A small card with a title, a message, perhaps a field, and a row of buttons.
class Sheet : public Overlay {
  public:
    /// @param window what it covers, whole
    explicit Sheet(QWidget* window);

  protected:
    /// @param symbol may be empty
    void setText(const QString& symbol, const QString& title, const QString& message = {});
    /// Buttons stand side by side, first to last, and share the width.
    TextButton* addButton(const QString& label, std::function<void()> action);
    /// A control between the message and the buttons.
    void setField(QWidget* field);

    QRect cardRect() const override;
    void layOutCard() override;
    void paintCard(QPainter& painter) override;

  private:
    struct Places;

    Places places() const;

    QString symbol_;
    QString title_;
    QString message_;
    QWidget* field_ = nullptr;
    std::vector<TextButton*> buttons_;
};

}  // namespace halvenor
