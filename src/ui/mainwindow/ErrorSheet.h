#pragma once

#include <QWidget>

#include <functional>

namespace halvenor {

class TextButton;

/// A message that lies over the window's content until it is dismissed, by its button, Return or
/// Escape. It blocks nothing: music and tasks go on behind it.
class ErrorSheet : public QWidget {
  public:
    explicit ErrorSheet(QWidget* parent);

    std::function<void()> onDismissed;

    /// Shows `message`, in the place of one that is showing.
    void present(const QString& message);
    /// Goes away without telling.
    void dismiss();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool focusNextPrevChild(bool next) override;

  private:
    QRect cardRect() const;
    QRect messageRect(int cardWidth) const;
    void layOut();

    QString message_;
    TextButton* confirm_;
};

}  // namespace halvenor
