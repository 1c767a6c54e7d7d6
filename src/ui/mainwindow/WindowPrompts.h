#pragma once

#include <QPointer>
#include <QWidget>

#include <vector>

#include "state/UserPrompts.h"

namespace halvenor {

class AppState;

/// Asks the user, on behalf of the state, in the main window: for folders with a file dialog, for
/// consent with a sheet. Nothing blocks; each question has a dialog of its own.
///
/// It is the state's from its making to its end; there is one at a time. What is open at the end is
/// closed, and counts as cancelled.
class WindowPrompts : public UserPrompts {
  public:
    /// @param state outlives it
    /// @param window outlives it
    WindowPrompts(AppState& state, QWidget& window);
    WindowPrompts(const WindowPrompts&) = delete;
    WindowPrompts& operator=(const WindowPrompts&) = delete;
    ~WindowPrompts() override;

    void chooseFolder(const QString& message,
                      std::function<void(std::optional<FileUrl>)> done) override;
    void confirm(const Confirmation& question, std::function<void(bool)> done) override;

  private:
    void keep(QWidget* question);

    AppState& state_;
    QWidget& window_;
    std::vector<QPointer<QWidget>> open_;
};

}  // namespace halvenor
