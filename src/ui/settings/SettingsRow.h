#pragma once

#include <QWidget>

class QHBoxLayout;
class QVBoxLayout;

namespace halvenor {

/// A row on a plate: a symbol, a text with perhaps a remark beneath it, and controls at the end.
class SettingsRow : public QWidget {
  public:
    /// @param symbol may be empty
    /// @param text cut short in its middle, as suits a path
    SettingsRow(const QString& symbol, const QString& text);

    void setRemark(const QString& remark);
    void addControl(QWidget* control);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QHBoxLayout* row_;
    QVBoxLayout* texts_;
};

}  // namespace halvenor
