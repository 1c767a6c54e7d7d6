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
    /// @param width,height of its screen in pixels
    /// @throws std::runtime_error when none answers
    explicit Display(int width = 1280, int height = 800);

    /// What a program needs to show its windows here, as variables of its environment.
    std::map<std::string, std::string> environment() const;
    /// Waits until a window of this title shows, gives it the keyboard, and presses the key.
    /// @param key the name of an X key symbol ("space", "m")
    /// @return whether there was such a window
    bool press(const std::string& windowTitle, const std::string& key) const;
    /// Gives the window the keyboard. @return whether there was such a window
    bool focus(const std::string& windowTitle) const;
    /// Types a text where the keyboard is.
    bool type(const std::string& text) const;
    /// Presses a key where the keyboard is: a menu has it without being a window's.
    bool typeKey(const std::string& key) const { return xdotool({"key", key}) == 0; }
    /// The same as press() for a place on the keyboard, whatever is written there now.
    /// @param keyCode as X11 counts
    bool pressKeyAt(const std::string& windowTitle, int keyCode) const;
    /// Puts other letters on the keyboard. @param layout as setxkbmap names it
    void setKeyboardLayout(const std::string& layout) const;
    /// Clicks into a window. @param x,y pixels from its upper left corner
    bool click(const std::string& windowTitle, int x, int y, int times = 1, int button = 1) const;
    /// Clicks a place of the screen. @param x,y pixels from its upper left corner
    bool clickScreen(int x, int y) const {
        return xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", "1"}) == 0;
    }
    /// The number by which other programs know the window; empty if there is none.
    std::string windowId(const std::string& windowTitle) const;
    /// In pixels; 0 if there is no such window.
    int widthOf(const std::string& windowTitle) const;
    /// Has windows managed: they can be closed and minimised.
    /// @throws std::runtime_error when no window manager comes up
    void startWindowManager();
    /// How many windows of this title there are that can be seen.
    int windowCount(const std::string& windowTitle) const;
    bool isShown(const std::string& windowTitle) const { return windowCount(windowTitle) > 0; }
    /// Closes it as its user does, by the window manager's key.
    /// @return whether there was such a window
    bool close(const std::string& windowTitle) const;
    void minimise(const std::string& windowTitle) const;

  private:
    int xdotool(std::vector<std::string> arguments) const;
    std::string output(const std::vector<std::string>& command) const;

    std::string name_;
    ChildProcess server_;
    ChildProcess windowManager_;
};

}  // namespace halvenor::test
