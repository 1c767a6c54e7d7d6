#pragma once

#include <map>
#include <string>
#include <vector>

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
    /// Has windows managed: they can be closed and minimised.
    void startWindowManager();
    /// How many windows of this title there are that can be seen.
    int windowCount(const std::string& windowTitle) const;
    bool isShown(const std::string& windowTitle) const { return windowCount(windowTitle) > 0; }
    /// Closes it as its user does.
    /// @return whether there was such a window
    bool close(const std::string& windowTitle) const;
    void minimise(const std::string& windowTitle) const;

  private:
    int xdotool(std::vector<std::string> arguments, const std::string& outputFile = {}) const;

    std::string name_;
    ChildProcess server_;
    ChildProcess windowManager_;
};

}  // namespace halvenor::test
