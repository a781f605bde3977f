// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// A map from element cookies to values, in one sorted array; the interface is the part of std::map's that is needed.
///
/// Every input value is looked up here, several times. A device numbers its elements without gaps or with few, so the
/// place of a cookie is mostly where counting from the first one says. Changing the map invalidates iterators;
/// inserting in ascending order is cheap, in any other order linear in the size, hence the constructor for many at
/// once.
template<typename Value>
class QZHIDCookieMap {
public:
    using value_type = std::pair<std::int64_t, Value>;
    using const_iterator = typename std::vector<value_type>::const_iterator;

    QZHIDCookieMap() = default;

    /// Takes entries in any order; of several with one cookie the last is kept.
    explicit QZHIDCookieMap(std::vector<value_type> entries) : entries_(std::move(entries)) {
        const auto isNotBefore = [](const value_type& a, const value_type& b) { return a.first >= b.first; };
        if (std::adjacent_find(entries_.begin(), entries_.end(), isNotBefore) == entries_.end()) {
            return; // as nearly every device numbers its elements
        }
        std::stable_sort(entries_.begin(), entries_.end(),
                         [](const value_type& a, const value_type& b) { return a.first < b.first; });
        const auto sameCookie = [](const value_type& a, const value_type& b) { return a.first == b.first; };
        // Backwards, so that the last of its kind is the one that stays.
        const auto kept = std::unique(entries_.rbegin(), entries_.rend(), sameCookie);
        entries_.erase(entries_.begin(), kept.base());
    }

    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    std::size_t size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }

    const_iterator find(std::int64_t cookie) const noexcept { return begin() + position(cookie); }
    bool contains(std::int64_t cookie) const noexcept { return find(cookie) != end(); }

    /// The value of this cookie to be changed in place, or null.
    Value* value(std::int64_t cookie) noexcept {
        const auto place = static_cast<std::size_t>(position(cookie));
        return place < entries_.size() ? &entries_[place].second : nullptr;
    }

    /// The value of a cookie that is in the map.
    const Value& at(std::int64_t cookie) const noexcept { return find(cookie)->second; }

    void insert_or_assign(std::int64_t cookie, Value value) {
        const bool isLast = entries_.empty() || entries_.back().first < cookie;
        const auto place = isLast ? end() : lowerBound(end(), cookie);
        if (!isLast && place->first == cookie) {
            // The old value goes away last, when the map is whole again: its end may run a client's code.
            std::swap(entries_[static_cast<std::size_t>(place - begin())].second, value);
        } else {
            entries_.emplace(place, cookie, std::move(value));
        }
    }

    std::size_t erase(std::int64_t cookie) {
        const auto found = find(cookie);
        if (found == entries_.end()) {
            return 0;
        }
        const value_type removed = std::move(entries_[static_cast<std::size_t>(found - begin())]);
        entries_.erase(found);
        return 1;
    }

private:
    /// How many entries before the counted place are looked at one by one.
    static constexpr std::size_t nearby = 8;

    /// The first entry before `last` whose cookie is not less, or `last`.
    const_iterator lowerBound(const_iterator last, std::int64_t cookie) const noexcept {
        return std::lower_bound(begin(), last, cookie,
                                [](const value_type& entry, std::int64_t wanted) { return entry.first < wanted; });
    }

    std::ptrdiff_t position(std::int64_t cookie) const noexcept {
        const auto none = static_cast<std::ptrdiff_t>(entries_.size());
        if (entries_.empty() || cookie < entries_.front().first) {
            return none;
        }
        // Counting from the first cookie gives its place or, with gaps in the numbers, one behind it.
        const std::uint64_t counted =
            static_cast<std::uint64_t>(cookie) - static_cast<std::uint64_t>(entries_.front().first);
        auto place = static_cast<std::size_t>(std::min<std::uint64_t>(counted, entries_.size() - 1));
        for (std::size_t step = 0; step < nearby && entries_[place].first > cookie; ++step) {
            --place; // never below 0: the first cookie is not greater
        }
        if (entries_[place].first > cookie) {
            place =
                static_cast<std::size_t>(lowerBound(begin() + static_cast<std::ptrdiff_t>(place), cookie) - begin());
        }
        return entries_[place].first == cookie ? static_cast<std::ptrdiff_t>(place) : none;
    }

    std::vector<value_type> entries_;
};
