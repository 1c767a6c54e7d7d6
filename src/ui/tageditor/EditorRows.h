#pragma once

#include <QString>
#include <QWidget>

#include <functional>

class QLineEdit;

namespace halvenor {

/// A caption over a text field.
class EditableDetailRow : public QWidget {
  public:
    /// Between a caption and what it stands over, device-independent pixels.
    static constexpr int captionGap = 4;

    /// @param prompt stands in the field while it is empty; may be empty
    EditableDetailRow(const QString& title, const QString& text, const QString& prompt,
                      QWidget* parent);

    QLineEdit& field() { return *field_; }
    /// Called with the text after each change of it.
    std::function<void(const QString&)> onEdited;

  private:
    QLineEdit* field_;
};

/// A small caption over a value that can be selected and copied. A long one is cut short until it
/// has the focus: at its end, or in its middle.
class DetailRow : public QWidget {
  public:
    DetailRow(const QString& title, const QString& value, Qt::TextElideMode elision,
              QWidget* parent);
};

/// What an editor shows in a field that stands for different texts.
QString multiplePrompt(bool isMultiple);

}  // namespace halvenor
