// SPDX-License-Identifier: MIT
#include "tools/qzgc/plot/Svg.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace qz::tools {

namespace {

constexpr char32_t replacement = 0xFFFD;

/// How many bytes follow a first byte of UTF-8 (RFC 3629), and the least code point that may be written so.
struct Lead {
    std::size_t following;
    char32_t bits;
    char32_t least;
};

Lead leadOf(unsigned char byte) {
    if (byte < 0x80) {
        return {0, byte, 0};
    }
    if (byte >= 0xC0 && byte < 0xE0) {
        return {1, byte & 0x1FU, 0x80};
    }
    if (byte >= 0xE0 && byte < 0xF0) {
        return {2, byte & 0x0FU, 0x800};
    }
    if (byte >= 0xF0 && byte < 0xF8) {
        return {3, byte & 0x07U, 0x10000};
    }
    return {0, replacement, 0};
}

/// XML 1.0, production 2; line ends and tabs are no part of a label either.
bool isXMLCharacter(char32_t code) {
    return code >= 0x20 && (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF && code <= 0x10FFFF;
}

/// Takes one character off the front of `text`; a byte that begins none is one that cannot be shown.
char32_t takeCharacter(std::string_view& text) {
    const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
    char32_t code = lead.bits;
    std::size_t length = 1;
    for (; length <= lead.following && length < text.size(); ++length) {
        const auto next = static_cast<unsigned char>(text[length]);
        if ((next & 0xC0U) != 0x80) {
            break;
        }
        code = code << 6U | (next & 0x3FU);
    }
    const bool isWhole = length == lead.following + 1 && code >= lead.least && isXMLCharacter(code);
    text.remove_prefix(isWhole ? length : 1);
    return isWhole ? code : replacement;
}

void appendUTF8(std::string& text, char32_t code) {
    const auto append = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0 | code >> 6U);
        append(0x80 | (code & 0x3FU));
    } else if (code < 0x10000) {
        append(0xE0 | code >> 12U);
        append(0x80 | (code >> 6U & 0x3FU));
        append(0x80 | (code & 0x3FU));
    } else {
        append(0xF0 | code >> 18U);
        append(0x80 | (code >> 12U & 0x3FU));
        append(0x80 | (code >> 6U & 0x3FU));
        append(0x80 | (code & 0x3FU));
    }
}

/// From U+1100 on letters are rather twice as wide as Latin ones than not.
std::size_t widthOf(char32_t code) {
    return code < 0x1100 || (code >= 0x2000 && code < 0x2E80) ? 1 : 2;
}

std::string attribute(std::string_view name, std::string_view value) {
    std::string text = " ";
    text += name;
    text += "=\"";
    text += value;
    text += '"';
    return text;
}

std::string attribute(std::string_view name, double value) {
    return attribute(name, coordinate(value));
}

} // namespace

std::string xmlText(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        const char32_t code = takeCharacter(text);
        switch (code) {
        case U'&':
            escaped += "&amp;";
            break;
        case U'<':
            escaped += "&lt;";
            break;
        case U'>':
            escaped += "&gt;";
            break;
        case U'"':
            escaped += "&quot;";
            break;
        default:
            appendUTF8(escaped, code);
        }
    }
    return escaped;
}

std::string shortened(std::string_view text, std::size_t width) {
    std::string kept;
    std::size_t afterIt = 0;
    std::size_t lengthBeforeEllipsis = 0;
    while (!text.empty()) {
        const char32_t code = takeCharacter(text);
        afterIt += widthOf(code);
        if (afterIt > width) {
            kept.resize(lengthBeforeEllipsis);
            return kept + "…";
        }
        appendUTF8(kept, code);
        if (afterIt < width) {
            lengthBeforeEllipsis = kept.size();
        }
    }
    return kept;
}

std::string coordinate(double number) {
    const double tenths = std::round(number * 10);
    std::array<char, 32> buffer{};
    const int digits = std::fmod(tenths, 10) == 0 ? 0 : 1;
    // Adding 0 turns -0 into 0.
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), tenths / 10 + 0.0,
                                   std::chars_format::fixed, digits);
    return {buffer.data(), end.ptr};
}

PathData& PathData::moveTo(double x, double y) {
    text_ += 'M' + coordinate(x) + ' ' + coordinate(y);
    return *this;
}

PathData& PathData::lineTo(double x, double y) {
    text_ += 'L' + coordinate(x) + ' ' + coordinate(y);
    return *this;
}

PathData& PathData::horizontalTo(double x) {
    text_ += 'H' + coordinate(x);
    return *this;
}

PathData& PathData::verticalTo(double y) {
    text_ += 'V' + coordinate(y);
    return *this;
}

PathData& PathData::close() {
    text_ += 'Z';
    return *this;
}

Svg::Svg(double width, double height, std::string_view title, std::string_view description, std::string_view style) {
    const std::string size = coordinate(width) + ' ' + coordinate(height);
    text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"" +
            attribute("width", width) + attribute("height", height) + attribute("viewBox", "0 0 " + size) +
            " role=\"img\" aria-labelledby=\"qzgc-title qzgc-desc\">\n<title id=\"qzgc-title\">" + xmlText(title) +
            "</title>\n<desc id=\"qzgc-desc\">" + xmlText(description) + "</desc>\n<style type=\"text/css\">\n" +
            std::string(style) + "</style>\n";
    rectangle(0, 0, width, height, "ground");
}

void Svg::element(std::string_view start, std::string_view styleClass) {
    text_ += '<';
    text_ += start;
    text_ += attribute("class", styleClass) + "/>\n";
}

void Svg::rectangle(double x, double y, double width, double height, std::string_view styleClass) {
    element("rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) + attribute("height", height),
            styleClass);
}

void Svg::line(double x1, double y1, double x2, double y2, std::string_view styleClass) {
    element("line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2), styleClass);
}

void Svg::circle(double x, double y, double radius, std::string_view styleClass) {
    element("circle" + attribute("cx", x) + attribute("cy", y) + attribute("r", radius), styleClass);
}

void Svg::path(const PathData& data, std::string_view styleClass) {
    if (!data.empty()) {
        element("path" + attribute("d", data.text()), styleClass);
    }
}

void Svg::text(double x, double y, std::string_view text, std::string_view styleClass, std::size_t width) {
    text_ += "<text" + attribute("x", x) + attribute("y", y) + attribute("class", styleClass) + '>';
    const std::string whole = xmlText(text);
    const std::string shown = width == 0 ? whole : xmlText(shortened(text, width));
    if (shown != whole) {
        text_ += "<title>" + whole + "</title>";
    }
    text_ += shown + "</text>\n";
}

std::string Svg::finish() {
    text_ += "</svg>\n";
    return std::move(text_);
}

} // namespace qz::tools
