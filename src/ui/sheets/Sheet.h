#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>
#include <vector>

namespace halvenor {

class TextButton;

/// A card over the dimmed content of its window: a title, a message, perhaps a field, and a row of
/// buttons. While it is open the keyboard's focus stays in it; then the focus goes back to where it
/// was. It blocks nothing: music and tasks go on behind it.
class Sheet : public QWidget {
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

    /// Shows it above everything. @param first what gets the focus
    void open(QWidget* first);
    /// Hides it and gives the focus back.
    void close();
    /// What Escape does.
    virtual void cancel() = 0;

    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct Places;

    Places places() const;
    void layOut();
    void giveFocusBack();

    QString symbol_;
    QString title_;
    QString message_;
    QWidget* field_ = nullptr;
    std::vector<TextButton*> buttons_;
    QPointer<QWidget> focusBefore_;
};

}  // namespace halvenor
