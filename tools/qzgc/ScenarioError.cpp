// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioError.h"

#include "tools/qzgc/JSONText.h"

#include <algorithm>

namespace qz::tools {

namespace {

bool isPlainWord(std::string_view key) {
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    return !key.empty() && key.find_first_not_of(plain) == std::string_view::npos;
}

} // namespace

std::string Place::text() const {
    return outer_ != nullptr ? path() : std::string(std::get<std::string_view>(step_));
}

std::string Place::path() const {
    if (outer_ == nullptr) {
        return {};
    }
    std::string path = outer_->path();
    std::visit([&](auto step) { append(path, step); }, step_);
    return path;
}

void Place::append(std::string& text, std::string_view key) {
    if (isPlainWord(key)) {
        text += text.empty() ? "" : ".";
        text += key;
    } else {
        text += '[' + jsonString(key) + ']';
    }
}

void Place::append(std::string& text, std::size_t index) {
    text += '[' + std::to_string(index) + ']';
}

} // namespace qz::tools
