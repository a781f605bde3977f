// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace qz::tools {

/// Why a scenario is refused: one line, "steps[3].raw: expected an integer".
class ScenarioError : public std::runtime_error {
public:
    /// `place` is where in the scenario, as Place::text or otherwise.
    ScenarioError(const std::string& place, const std::string& reason) : std::runtime_error(place + ": " + reason) {}
};

/// Where in a scenario: the way down to one of its values. It costs nothing until it is put into words, so that there
/// is one for every value that is read.
class Place {
public:
    /// The document itself, under the name that it has in messages.
    explicit Place(std::string_view document = "scenario") : step_(document) {}
    /// A member of the object, or of the array, at `outer`, which must live as long as this; so must the key.
    Place(const Place& outer, std::string_view key) : outer_(&outer), step_(key) {}
    Place(const Place& outer, std::size_t index) : outer_(&outer), step_(index) {}

    /// "devices.pad.elements[3]"; a key that is no plain word stands in brackets, as a JSON string.
    std::string text() const;

    /// The way down so far and one step more, as in `text`.
    static void append(std::string& text, std::string_view key);
    static void append(std::string& text, std::size_t index);

    [[noreturn]] void refuse(const std::string& reason) const { throw ScenarioError(text(), reason); }

private:
    std::string path() const;

    const Place* outer_ = nullptr;
    std::variant<std::string_view, std::size_t> step_;
};

} // namespace qz::tools
