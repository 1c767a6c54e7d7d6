#pragma once

#include <QWidget>

#include <functional>

namespace halvenor {

/// A symbol that only shows. It means nothing that is not said beside it, so assistive technology
/// passes over it.
class SymbolView : public QWidget {
  public:
    /// @param size that of the symbol, as text
    SymbolView(const QString& symbol, double size, std::function<QColor()> colour);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString symbol_;
    double size_;
    std::function<QColor()> colour_;
};

}  // namespace halvenor
