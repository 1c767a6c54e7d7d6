#pragma once

#include <map>
#include <string>

#include "support/ChildProcess.h"

namespace halvenor::test {

/// A private X server without a screen to look at, and a user at its keyboard. It ends with the
/// object, by its process id.
class Display {
  public:
    /// @throws std::runtime_error when none answers
    Display();

    /// What a program needs to show its windows here, as variables of its environment.
    std::map<std::string, std::string> environment() const;
    /// Waits until a window of this title shows, gives it the keyboard, and presses the key.
    /// @param key the name of an X key symbol ("space", "m")
    /// @return whether there was such a window
    bool press(const std::string& windowTitle, const std::string& key) const;

  private:
    int xdotool(std::vector<std::string> arguments) const;

    std::string name_;
    ChildProcess server_;
};

}  // namespace halvenor::test
