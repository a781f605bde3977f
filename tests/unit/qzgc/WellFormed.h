// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace qz::tests {

/// What is wrong with the characters of a piece of XML text: a reference that is none, a control character.
inline std::string faultOfText(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        constexpr std::array<std::string_view, 4> references = {"&amp;", "&lt;", "&gt;", "&quot;"};
        const std::string_view rest = text.substr(i);
        const bool isReference =
            std::ranges::any_of(references, [&](std::string_view each) { return rest.substr(0, each.size()) == each; });
        if ((text[i] == '&' && !isReference) || text[i] == '<') {
            return "not escaped: " + std::string(rest.substr(0, 20));
        }
        if (static_cast<unsigned char>(text[i]) < ' ' && text[i] != '\n') {
            return "a control character";
        }
    }
    return "";
}

/// The same of a tag, from < to >: attributes stand once each, in double quotes, and hold text.
inline std::string faultOfTag(std::string_view tag) {
    std::vector<std::string> names;
    std::string_view rest = tag.substr(1, tag.size() - (tag.ends_with("/>") ? 3 : 2));
    rest.remove_prefix(std::min(rest.find(' '), rest.size()));
    while (!rest.empty()) {
        const auto equals = rest.find("=\"");
        const auto end = equals == std::string_view::npos ? equals : rest.find('"', equals + 2);
        if (rest.front() != ' ' || end == std::string_view::npos) {
            return "no attribute: " + std::string(tag);
        }
        const std::string name(rest.substr(1, equals - 1));
        if (name.empty() || name.find_first_of(" \"") != std::string::npos || std::ranges::count(names, name) != 0) {
            return "no name of an attribute: " + name;
        }
        names.push_back(name);
        if (std::string fault = faultOfText(rest.substr(equals + 2, end - equals - 2)); !fault.empty()) {
            return fault;
        }
        rest.remove_prefix(end + 1);
    }
    return "";
}

/// What is wrong with an XML document of elements, attributes and text; empty when nothing is. Whatever else XML has is
/// wrong too: the tool does not write it.
inline std::string faultOfXML(std::string_view document) {
    constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    if (!document.starts_with(declaration)) {
        return "no declaration";
    }
    document.remove_prefix(declaration.size());
    std::vector<std::string> open;
    bool hasRoot = false;
    while (!document.empty()) {
        const std::string_view text = document.substr(0, document.find('<'));
        if (std::string fault = faultOfText(text); !fault.empty()) {
            return fault;
        }
        if (open.empty() && text.find_first_not_of('\n') != std::string_view::npos) {
            return "text outside of the root";
        }
        document.remove_prefix(text.size());
        if (document.empty()) {
            break;
        }
        const std::string tag(document.substr(0, document.find('>') + 1));
        document.remove_prefix(tag.size());
        if (tag.size() < 3) {
            return "a tag without end";
        }
        if (tag[1] == '/') {
            if (open.empty() || "</" + open.back() + ">" != tag) {
                return tag + " ends nothing";
            }
            open.pop_back();
            continue;
        }
        if (std::string fault = faultOfTag(tag); !fault.empty()) {
            return fault;
        }
        if (open.empty() && hasRoot) {
            return "two roots";
        }
        hasRoot = true;
        if (!tag.ends_with("/>")) {
            open.push_back(tag.substr(1, tag.find_first_of(" >") - 1));
        }
    }
    return !open.empty() ? open.back() + " is not ended" : hasRoot ? "" : "no root";
}

} // namespace qz::tests
