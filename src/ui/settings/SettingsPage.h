#pragma once

#include <QVBoxLayout>
#include <QWidget>

namespace halvenor {

class TextLabel;

/// A page of the settings: what it holds stands beneath each other, in one column.
class SettingsPage : public QWidget {
  public:
    SettingsPage();

  protected:
    /// A heading, with a symbol before it if it has one. Room is left above.
    void addHeader(const QString& text, const QString& symbol = {});
    /// A quiet line or paragraph of explanation.
    TextLabel* addNote(const QString& text);
    void add(QWidget* widget) { column_->addWidget(widget); }
    void addSpace(int height) { column_->addSpacing(height); }
    /// What was added last stands at the top.
    void finish() { column_->addStretch(1); }
    QVBoxLayout& column() { return *column_; }

  private:
    QVBoxLayout* column_;
};

/// A heading in a page of settings.
QWidget* makeSectionHeader(const QString& text, const QString& symbol = {});

}  // namespace halvenor
