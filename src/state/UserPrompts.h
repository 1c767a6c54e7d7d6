#pragma once

#include <QString>

#include <functional>
#include <optional>

#include "base/FileUrl.h"

namespace halvenor {

/// What the state has to ask the user; the window asks it. Every call comes back exactly once, at
/// any later time, unless the state is gone. Main thread.
class UserPrompts {
  public:
    struct Confirmation {
        QString message;
        QString informativeText;
        /// The button that says yes; the other one is "Cancel".
        QString acceptLabel;
    };

    virtual ~UserPrompts() = default;

    /// Lets the user choose one folder. An empty message is none. Absent when cancelled.
    virtual void chooseFolder(const QString& message,
                              std::function<void(std::optional<FileUrl>)> done) = 0;
    virtual void confirm(const Confirmation& question, std::function<void(bool)> done) = 0;
};

}  // namespace halvenor
