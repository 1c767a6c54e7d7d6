#pragma once

#include <optional>

#include "ui/sheets/Overlay.h"

namespace halvenor {

class TextButton;
class TextLabel;

/// What the two tag editors have in common: a card of a fixed size with a title and a close button
/// at its head, and at its foot a note and the two answers. Return saves, Escape closes. It is
/// shown by present() and deletes itself when it is done with.
class EditorSheet : public Overlay {
  protected:
    struct Form {
        QString title;
        QString closeLabel;
        QSize size;   ///< of the card, device-independent pixels
        int padding;  ///< within the card
    };

    EditorSheet(QWidget* window, const Form& form);

    /// What lies between head and foot.
    QWidget& body() { return *body_; }
    /// Shows the sheet, whose body is complete. The first field gets the focus, its text selected;
    /// without fields the close button.
    void present();
    void finish();
    /// @param error takes the place of the note
    void setMessage(const std::optional<QString>& error, const QString& note);
    void setSaving(bool isSaving, bool canSave);

    /// What Save does. Called only while it can be pressed.
    virtual void save() = 0;

    void cancel() override { finish(); }
    QRect cardRect() const override;
    void layOutCard() override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QWidget* makeHeader();
    QWidget* makeFooter();

    const Form form_;
    QWidget* card_;
    QWidget* body_;
    QWidget* closeButton_ = nullptr;
    TextLabel* message_ = nullptr;
    TextButton* save_ = nullptr;
};

}  // namespace halvenor
