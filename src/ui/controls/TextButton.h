#pragma once

#include <QAbstractButton>

namespace halvenor {

/// A button with a text on a plate, with a symbol before it if it has one.
class TextButton : public QAbstractButton {
  public:
    TextButton(const QString& text, QWidget* parent);

    void setSymbol(const QString& symbol);
    /// The answer that Return gives: its plate is filled with the accent.
    void setProminent(bool isProminent);
    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QFont face() const;

    QString symbol_;
    bool isProminent_ = false;
};

}  // namespace halvenor
