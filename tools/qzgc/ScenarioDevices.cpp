// SPDX-License-Identifier: MIT
#include "tools/qzgc/ScenarioReader.h"
#include "tools/qzgc/ScenarioReports.h"

#include <algorithm>

using qz::platform::PropertyValue;
using qz::platform::VirtualElement;

namespace qz::tools {

namespace {

PropertyValue readProperty(const JSONValue& json, const Place& place) {
    if (const auto* const integer = json.as<std::int64_t>()) {
        return *integer;
    }
    if (const auto* const number = json.as<double>()) {
        return *number;
    }
    if (const auto* const string = json.as<std::string>()) {
        return *string;
    }
    place.refuse("expected a string or a number");
}

std::vector<std::size_t> readChildren(const JSONValue& json, const Place& place, std::size_t elementCount) {
    std::vector<std::size_t> children;
    for (const JSONValue& each : readArray(json, place)) {
        const Place childPlace(place, children.size());
        const auto index = read<std::int64_t>(each, childPlace);
        if (index < 0 || static_cast<std::uint64_t>(index) >= elementCount) {
            childPlace.refuse("no element " + std::to_string(index) + ": there are " + std::to_string(elementCount));
        }
        children.push_back(static_cast<std::size_t>(index));
    }
    return children;
}

VirtualElement readElement(const JSONValue& json, const Place& place, std::size_t elementCount) {
    const ObjectReader object(json, place);
    object.expectKeys("cookie type usagePage usage", "collectionType min max preferredState children");
    VirtualElement element{.cookie = object.get<std::uint32_t>("cookie"),
                           .type = object.get<std::int32_t>("type"),
                           .collectionType = object.getOptional<std::int32_t>("collectionType").value_or(0),
                           .usagePage = object.get<std::uint32_t>("usagePage"),
                           .usage = object.get<std::uint32_t>("usage"),
                           .min = object.getOptional<std::int64_t>("min").value_or(0),
                           .max = object.getOptional<std::int64_t>("max").value_or(0),
                           .preferredState = object.getOptional<bool>("preferredState").value_or(true),
                           .children = std::nullopt};
    if (const JSONValue* const children = object.find("children")) {
        element.children = readChildren(*children, object.placeOf("children"), elementCount);
    }
    return element;
}

/// Goes down from every element to the members of the members, and refuses what has no end or too much in it: the
/// library makes an object for each member of a collection, and again wherever that collection is a member.
class MembershipCheck {
public:
    MembershipCheck(const std::vector<VirtualElement>& elements, const Place& place)
        : elements_(elements), place_(place), visits_(elements.size()) {}

    void run() {
        std::size_t memberships = 0;
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            visit(i);
            memberships += visits_[i].members;
            if (memberships > most) {
                place_.refuse("more than " + std::to_string(most) + " memberships in all collections together");
            }
        }
    }

private:
    static constexpr std::size_t most = 32768;

    enum class State : std::uint8_t { New, Open, Done };
    struct Visit {
        State state = State::New;
        std::size_t nextChild = 0;
        std::size_t members = 0; ///< in the collection at all depths, once for each way down to them; at most most + 1
    };

    /// Without recursion: how deep it goes is not known before it has been checked.
    void visit(std::size_t first) {
        std::vector<std::size_t> open;
        const auto enter = [&](std::size_t index) {
            visits_[index].state = State::Open;
            open.push_back(index);
        };
        if (visits_[first].state == State::New) {
            enter(first);
        }
        while (!open.empty()) {
            if (const auto child = nextChild(open.back())) {
                enter(*child);
            } else {
                close(open.back());
                open.pop_back();
            }
        }
    }

    /// The next child of `index` that has not been visited yet.
    std::optional<std::size_t> nextChild(std::size_t index) {
        const auto& children = elements_[index].children;
        Visit& visit = visits_[index];
        for (; children && visit.nextChild < children->size(); ++visit.nextChild) {
            const std::size_t child = (*children)[visit.nextChild];
            if (visits_[child].state == State::Open) {
                const Place elementPlace(place_, index);
                const Place childrenPlace(elementPlace, "children");
                Place(childrenPlace, visit.nextChild).refuse("the element contains itself");
            }
            if (visits_[child].state == State::New) {
                return child;
            }
        }
        return std::nullopt;
    }

    void close(std::size_t index) {
        Visit& visit = visits_[index];
        visit.state = State::Done;
        // Whatever lists members counts as a collection: the platform's record has them, also where the library looks
        // for none.
        if (const auto& children = elements_[index].children) {
            for (const std::size_t child : *children) {
                visit.members = std::min(visit.members + 1 + visits_[child].members, most + 1);
            }
        }
    }

    const std::vector<VirtualElement>& elements_;
    const Place& place_;
    std::vector<Visit> visits_;
};

std::optional<std::vector<VirtualElement>> readElements(const JSONValue& json, const Place& place) {
    if (json.as<std::nullptr_t>() != nullptr) {
        return std::nullopt;
    }
    const auto* const array = json.as<JSONValue::Array>();
    if (array == nullptr) {
        place.refuse("expected an array or null");
    }
    std::vector<VirtualElement> elements;
    for (const JSONValue& each : *array) {
        elements.push_back(readElement(each, {place, elements.size()}, array->size()));
    }
    MembershipCheck(elements, place).run();
    return elements;
}

} // namespace

DeviceDefinition readDevice(std::string_view name, const JSONValue& json, const Place& place) {
    const ObjectReader object(json, place);
    object.expectKeys("properties", "elements reportDescriptor");
    const JSONValue* const elements = object.find("elements");
    const JSONValue* const descriptor = object.find("reportDescriptor");
    if ((elements != nullptr) == (descriptor != nullptr)) {
        place.refuse(R"(expected either "elements" or "reportDescriptor")");
    }
    DeviceDefinition definition{.name = std::string(name), .description = {}, .reportDescriptor = std::nullopt};
    const Place propertiesPlace = object.placeOf("properties");
    for (const auto& [key, value] : ObjectReader(object.at("properties"), propertiesPlace).members()) {
        definition.description.properties.emplace(key, readProperty(value, {propertiesPlace, key}));
    }
    if (elements != nullptr) {
        definition.description.elements = readElements(*elements, object.placeOf("elements"));
    } else {
        setReportDescriptor(definition, object.get<std::vector<std::uint8_t>>("reportDescriptor"),
                            object.placeOf("reportDescriptor"));
    }
    return definition;
}

} // namespace qz::tools
