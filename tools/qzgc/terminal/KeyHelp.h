// SPDX-License-Identifier: MIT
#pragma once

#include "tools/qzgc/terminal/Canvas.h"

#include <string_view>
#include <vector>

namespace qz::tools {

/// The page that tells which keys a full-screen view takes: ? or h shows it, and any key leaves it again.
class KeyHelp {
public:
    struct Line {
        std::string_view keys;
        std::string_view what;
    };

    explicit KeyHelp(std::vector<Line> lines) : lines_(std::move(lines)) {}

    /// Whether the key, as Screen::takeKey answers it, was for this page; otherwise the view takes it.
    bool take(int key);

    bool isShown() const noexcept { return isShown_; }
    /// Draws it over the whole canvas, in place of the view.
    void draw(Canvas& canvas) const;

private:
    std::vector<Line> lines_;
    bool isShown_ = false;
};

} // namespace qz::tools
