// SPDX-License-Identifier: MIT
#include "platform/virtual/VirtualMemberships.h"

#include "platform/FatalError.h"

namespace qz::platform {

namespace {

/// Counts, for each element, the objects that it stands for: itself and, in turn, its members. Without recursion,
/// because the nesting is not known to be bounded before the count is done.
class Count {
public:
    explicit Count(const std::vector<std::optional<std::vector<std::size_t>>>& children)
        : children_(children), objects_(children.size(), unknown) {}

    std::size_t objectsOf(std::size_t element) {
        open_.push_back({element});
        while (!open_.empty()) {
            step();
        }
        return objects_[element];
    }

private:
    struct Visit {
        std::size_t element;
        std::size_t nextMember = 0;
        std::size_t objects = 1;
    };

    static constexpr std::size_t unknown = 0;
    static constexpr std::size_t begun = static_cast<std::size_t>(-1);

    void step() {
        Visit& visit = open_.back();
        objects_[visit.element] = begun;
        const auto& members = children_[visit.element];
        if (!members || visit.nextMember == members->size()) {
            objects_[visit.element] = visit.objects;
            open_.pop_back();
            return;
        }
        const std::size_t member = (*members)[visit.nextMember];
        if (member >= children_.size()) {
            ++visit.nextMember; // left out, as in the device
        } else if (objects_[member] == begun) {
            fatalError("a collection of a virtual device contains itself");
        } else if (objects_[member] == unknown) {
            open_.push_back({member});
        } else {
            visit.objects += objects_[member];
            ++visit.nextMember;
            if (visit.objects > maximumMemberships) {
                fatalError("the collections of a virtual device have more than 1048576 memberships");
            }
        }
    }

    const std::vector<std::optional<std::vector<std::size_t>>>& children_;
    std::vector<std::size_t> objects_;
    std::vector<Visit> open_;
};

} // namespace

void checkMemberships(const std::vector<std::optional<std::vector<std::size_t>>>& children) {
    Count count(children);
    std::size_t memberships = 0;
    for (std::size_t element = 0; element < children.size(); ++element) {
        memberships += count.objectsOf(element) - 1;
        if (memberships > maximumMemberships) {
            fatalError("the collections of a virtual device have more than 1048576 memberships");
        }
    }
}

} // namespace qz::platform
