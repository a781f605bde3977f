// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qz::tools {

/// `text` as it may stand in an XML document, in quotation marks too. What is not UTF-8, and characters that XML has no
/// place for, become U+FFFD.
std::string xmlText(std::string_view text);

/// `text` cut to about `width` Latin letters, with an ellipsis for what is missing. Cuts only between characters.
std::string shortened(std::string_view text, std::size_t width);

/// A coordinate with one digit after the point where it needs one.
std::string coordinate(double number);

/// The data of a path, from point to point.
class PathData {
public:
    PathData& moveTo(double x, double y);
    PathData& lineTo(double x, double y);
    PathData& horizontalTo(double x);
    PathData& verticalTo(double y);
    PathData& close();

    bool empty() const noexcept { return text_.empty(); }
    const std::string& text() const noexcept { return text_; }

private:
    std::string text_;
};

/// A picture in SVG 1.1, written from back to front. It stands on a ground of its own, so that pages of any colour can
/// show it, and needs nothing from outside.
class Svg {
public:
    /// The style is CSS for the classes that the shapes name; it is taken as it is.
    Svg(double width, double height, std::string_view title, std::string_view description, std::string_view style);

    void rectangle(double x, double y, double width, double height, std::string_view styleClass);
    void line(double x1, double y1, double x2, double y2, std::string_view styleClass);
    void circle(double x, double y, double radius, std::string_view styleClass);
    /// Nothing for a path without points.
    void path(const PathData& data, std::string_view styleClass);
    /// Text on one line, at most about `width` letters wide (0: any); what is cut is shown whole to who points at it.
    void text(double x, double y, std::string_view text, std::string_view styleClass, std::size_t width = 0);

    /// The whole document. Nothing can be drawn after that.
    std::string finish();

private:
    void element(std::string_view start, std::string_view styleClass);

    std::string text_;
};

} // namespace qz::tools
