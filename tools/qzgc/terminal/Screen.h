// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/terminal/Canvas.h"

#include <optional>
#include <string>

namespace qz::tools {

/// Whether the standard output, and the standard input, are terminals that can show full-screen views and send keys.
bool outputIsTerminal();
bool inputIsTerminal();
/// Whether somebody reads messages as they come.
bool errorIsTerminal();

/// Keys that are no characters.
enum Key : int {
    keyUp = 0x110000,
    keyDown,
    keyLeft,
    keyRight,
    keyPageUp,
    keyPageDown,
    keyHome,
    keyEnd,
    keyBackspace,
    keyBackTab
};
inline constexpr int keyEnter = '\n';
inline constexpr int keyEscape = 27;

/// The terminal in full-screen mode, from construction to destruction. One at a time, and after the EventLoop: signals
/// that it has taken over are left alone. Control-Z stops the process as ever. The terminal gets back what it had on
/// every way out, a fatal error of the library and a fault of the program included.
class Screen {
public:
    /// Throws Failure when the terminal cannot do it; `remedy` says what a user can do then, as in "use --lines".
    explicit Screen(const std::string& remedy);
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    int rows() const;
    int columns() const;
    bool unicode() const noexcept { return unicode_; }
    Canvas canvas() const { return {rows(), columns(), unicode_}; }

    /// Takes the terminal's new size over.
    void resize();

    /// Only what has changed goes to the terminal.
    void show(const Canvas& canvas);

    /// The next key that has been pressed: a character's code point, or a Key; nothing when there is none yet.
    std::optional<int> takeKey();

    /// Whether the terminal has gone: nothing will ever be typed again. Known after `takeKey` answered nothing.
    bool isGone() const;

private:
    void showCell(int row, int column, const Canvas::Cell& cell);

    bool unicode_ = false;
    bool hasColours_ = false;
    std::optional<Canvas> shown_; ///< nothing when the terminal may show anything
};

} // namespace qz::tools
