// SPDX-License-Identifier: MIT
#include "platform/report/ReportDescriptor.h"

#include "platform/report/ReportUsages.h"

#include <algorithm>
#include <array>

namespace qz::platform {

namespace {

using Limits = ReportDescriptorLimits;

// HID 1.11 section 6.2.2.4 to 6.2.2.8: types and tags as they stand in an item's prefix.
enum class ItemType : std::uint8_t { Main = 0, Global = 1, Local = 2, Reserved = 3 };
enum class MainTag : std::uint8_t { Input = 8, Output = 9, Collection = 10, Feature = 11, EndCollection = 12 };
enum class GlobalTag : std::uint8_t {
    UsagePage = 0,
    LogicalMinimum = 1,
    LogicalMaximum = 2,
    ReportSize = 7,
    ReportID = 8,
    ReportCount = 9,
    Push = 10,
    Pop = 11
};
enum class LocalTag : std::uint8_t { Usage = 0, UsageMinimum = 1, UsageMaximum = 2, Delimiter = 10 };

constexpr std::uint8_t longItemPrefix = 0xfe;
constexpr std::uint8_t applicationCollection = 1;

constexpr std::uint32_t constantFlag = 0x01;
constexpr std::uint32_t variableFlag = 0x02;
constexpr std::uint32_t relativeFlag = 0x04;
constexpr std::uint32_t noPreferredStateFlag = 0x20;

constexpr std::uint32_t genericDesktopPage = 0x01;
constexpr std::uint32_t keyboardPage = 0x07;
constexpr std::uint32_t firstAxisUsage = 0x30; // X
constexpr std::uint32_t lastAxisUsage = 0x38;  // Wheel

struct Item {
    std::size_t offset = 0;
    ItemType type = ItemType::Reserved;
    std::uint8_t tag = 0;
    std::uint8_t size = 0; // bytes of data
    std::uint32_t data = 0;

    std::int64_t signedData() const {
        const int above = 64 - 8 * size;
        return size == 0 ? 0 : static_cast<std::int64_t>(std::uint64_t{data} << above) >> above;
    }
};

struct Globals {
    std::uint32_t usagePage = 0;
    std::int64_t logicalMin = 0;
    // As written: whether it has a sign depends on the minimum that is in force at the main item.
    Item logicalMax = {};
    std::uint32_t reportSize = 0;
    std::uint32_t reportCount = 0;
    std::uint32_t reportID = 0;
};

/// Reads the items of one descriptor. Elements are made while reading, but never before their number has been tested.
class Parser {
public:
    explicit Parser(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
        result_.elements.reserve(usualElements);
        result_.parents.reserve(usualElements);
        result_.inputs.reserve(usualItems);
    }

    std::variant<ReportDescriptor, ReportDescriptorError> parse() {
        while (!error_ && at_ < bytes_.size()) {
            readItem();
        }
        if (!error_ && depth_ != 0) {
            refuse(bytes_.size(), "a collection is left open");
        }
        if (error_) {
            return *error_;
        }
        return std::move(result_);
    }

private:
    enum Kind : std::uint8_t { Input, Output, Feature };

    static constexpr std::size_t usualElements = 16;
    static constexpr std::size_t usualItems = 8;

    void refuse(std::size_t offset, std::string_view reason) { error_ = {offset, reason}; }

    void readItem() {
        const std::uint8_t prefix = bytes_[at_];
        const std::size_t left = bytes_.size() - at_;
        if (prefix == longItemPrefix) {
            // HID 1.11 section 6.2.2.3: the data's size, a tag, the data.
            if (left < 3 || left - 3 < bytes_[at_ + 1]) {
                return refuse(at_, "the item is cut off");
            }
            return goTo(at_ + 3U + bytes_[at_ + 1]);
        }
        Item item{.offset = at_,
                  .type = static_cast<ItemType>((prefix >> 2U) & 3U),
                  .tag = static_cast<std::uint8_t>(prefix >> 4U),
                  .size = static_cast<std::uint8_t>((prefix & 3U) == 3 ? 4 : prefix & 3U)};
        if (left - 1 < item.size) {
            return refuse(at_, "the item is cut off");
        }
        item.data = static_cast<std::uint32_t>(loadLittleEndian(bytes_.subspan(at_ + 1, item.size), 0));
        goTo(at_ + 1U + item.size);
        if (!error_) {
            take(item);
        }
    }

    void goTo(std::size_t end) {
        if (end > Limits::descriptorBytes) {
            return refuse(at_, "more than 4096 bytes");
        }
        at_ = end;
    }

    void take(const Item& item) {
        switch (item.type) {
        case ItemType::Main:
            takeMain(item);
            usages_.clear();
            break;
        case ItemType::Global:
            takeGlobal(item);
            break;
        case ItemType::Local:
            takeLocal(item);
            break;
        case ItemType::Reserved:
            break;
        }
    }

    void takeMain(const Item& item) {
        switch (static_cast<MainTag>(item.tag)) {
        case MainTag::Input:
            return takeField(item, Input);
        case MainTag::Output:
            return takeField(item, Output);
        case MainTag::Feature:
            return takeField(item, Feature);
        case MainTag::Collection:
            return openCollection(item);
        case MainTag::EndCollection:
            if (depth_ == 0) {
                return refuse(item.offset, "no collection is open that could end here");
            }
            --depth_;
            innermost_ = result_.parents[innermost_];
            return;
        }
    }

    void takeGlobal(const Item& item) {
        switch (static_cast<GlobalTag>(item.tag)) {
        case GlobalTag::UsagePage:
            globals_.usagePage = item.data & 0xffffU;
            return;
        case GlobalTag::LogicalMinimum:
            globals_.logicalMin = item.signedData();
            return;
        case GlobalTag::LogicalMaximum:
            globals_.logicalMax = item;
            return;
        case GlobalTag::ReportSize:
            globals_.reportSize = item.data;
            return;
        case GlobalTag::ReportID:
            if (item.data == 0 || item.data > 255) {
                return refuse(item.offset, "the Report ID is not within 1 to 255");
            }
            globals_.reportID = item.data;
            return;
        case GlobalTag::ReportCount:
            globals_.reportCount = item.data;
            return;
        case GlobalTag::Push:
            if (pushed_.size() == Limits::pushDepth) {
                return refuse(item.offset, "more than 16 states are pushed");
            }
            pushed_.push_back(globals_);
            return;
        case GlobalTag::Pop:
            if (pushed_.empty()) {
                return refuse(item.offset, "no state is pushed that could be popped");
            }
            globals_ = pushed_.back();
            pushed_.pop_back();
            return;
        }
    }

    void takeLocal(const Item& item) {
        switch (static_cast<LocalTag>(item.tag)) {
        case LocalTag::Usage:
            return usages_.addUsage(item.data, globals_.usagePage);
        case LocalTag::UsageMinimum:
            return usages_.setMinimum(item.data);
        case LocalTag::UsageMaximum:
            return usages_.addRange(item.data, globals_.usagePage);
        case LocalTag::Delimiter:
            return usages_.setDelimited(item.data != 0);
        }
    }

    /// Whether `count` elements may be made where the parser stands; refuses the descriptor where not.
    bool mayMake(std::uint64_t count, const Item& item) {
        if (count > Limits::elements - result_.elements.size()) {
            refuse(item.offset, "more than 16384 elements");
            return false;
        }
        if (count * depth_ > Limits::memberships - memberships_) {
            refuse(item.offset, "more than 32768 memberships of elements in collections");
            return false;
        }
        memberships_ += count * depth_;
        return true;
    }

    void make(HIDElement element) {
        element.cookie = static_cast<std::uint32_t>(result_.elements.size() + 1);
        result_.parents.push_back(innermost_);
        result_.elements.push_back(element);
    }

    void openCollection(const Item& item) {
        if (depth_ == Limits::collectionDepth) {
            return refuse(item.offset, "more than 64 collections within each other");
        }
        if (!mayMake(1, item)) {
            return;
        }
        usages_.settlePages(globals_.usagePage);
        const HIDUsagePair usage = usages_.first().value_or(HIDUsagePair{globals_.usagePage, 0});
        const auto collectionType = static_cast<std::uint8_t>(item.data);
        if (collectionType == applicationCollection) {
            result_.applications.push_back(usage);
        }
        make({.type = kIOHIDElementTypeCollection,
              .collectionType = collectionType,
              .usagePage = usage.usagePage,
              .usage = usage.usage});
        ++depth_;
        innermost_ = static_cast<std::uint32_t>(result_.elements.size() - 1);
    }

    void takeField(const Item& item, Kind kind) {
        if (kind == Input && globals_.reportID != 0) {
            result_.inputHasReportIDs = true;
        }
        std::uint64_t& end = endOfReport(kind);
        const std::uint64_t begin = end;
        const std::uint64_t bits = std::uint64_t{globals_.reportSize} * globals_.reportCount;
        if (bits > Limits::reportBytes * 8 - begin) {
            return refuse(item.offset, "a report of more than 16384 bytes");
        }
        end += bits;
        usages_.settlePages(globals_.usagePage);
        const std::uint32_t size = globals_.reportSize;
        if ((item.data & constantFlag) != 0 || size == 0 || size > 32 || bits == 0 || usages_.empty()) {
            return;
        }
        ReportInput input{.reportID = globals_.reportID,
                          .field = {.offset = static_cast<std::uint32_t>(begin),
                                    .width = static_cast<std::uint8_t>(size),
                                    .isSigned = globals_.logicalMin < 0},
                          .count = globals_.reportCount,
                          .isArray = (item.data & variableFlag) == 0,
                          .isRelative = (item.data & relativeFlag) != 0,
                          .logicalMin = globals_.logicalMin,
                          .logicalMax = logicalMax()};
        input.firstElement = static_cast<std::uint32_t>(result_.elements.size());
        input.elementCount =
            input.isArray ? static_cast<std::uint32_t>(std::min<std::uint64_t>(usages_.count(), Limits::arrayUsages))
                          : input.count;
        if (mayMake(input.elementCount, item)) {
            makeElements(input, item, kind);
            if (kind == Input) {
                result_.inputs.push_back(input);
            }
        }
    }

    /// Where the report that the parser stands in ends so far.
    std::uint64_t& endOfReport(Kind kind) {
        std::vector<std::uint64_t>& ends = reportEnds_[kind];
        if (ends.size() <= globals_.reportID) {
            ends.resize(globals_.reportID + 1U);
        }
        return ends[globals_.reportID];
    }

    std::int64_t logicalMax() const {
        const Item& written = globals_.logicalMax;
        return globals_.logicalMin < 0 ? written.signedData() : std::int64_t{written.data};
    }

    void makeElements(const ReportInput& input, const Item& item, Kind kind) {
        // Real descriptors leave a stick's range, or none at all, to the buttons that follow.
        const bool isBit = input.field.width == 1 && input.logicalMin == 0;
        HIDElement element{.hasPreferredState = (item.data & noPreferredStateFlag) == 0,
                           .logicalMin = input.isArray ? 0 : input.logicalMin,
                           .logicalMax = input.isArray || isBit ? 1 : input.logicalMax};
        UsageList::Walk walk(usages_);
        for (std::uint32_t i = 0; i < input.elementCount; ++i) {
            const HIDUsagePair usage = walk.next();
            element.usagePage = usage.usagePage;
            element.usage = usage.usage;
            element.type = kind == Input    ? inputType(element, input)
                           : kind == Output ? kIOHIDElementTypeOutput
                                            : kIOHIDElementTypeFeature;
            make(element);
        }
    }

    static std::int32_t inputType(const HIDElement& element, const ReportInput& input) {
        if (input.isArray) {
            return element.usagePage == keyboardPage ? kIOHIDElementTypeInput_ScanCodes : kIOHIDElementTypeInput_Button;
        }
        if (element.logicalMin == 0 && element.logicalMax == 1) {
            return kIOHIDElementTypeInput_Button;
        }
        const bool isAxis = element.usagePage == genericDesktopPage && element.usage >= firstAxisUsage &&
                            element.usage <= lastAxisUsage;
        return isAxis && !input.isRelative ? kIOHIDElementTypeInput_Axis : kIOHIDElementTypeInput_Misc;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
    std::optional<ReportDescriptorError> error_;
    ReportDescriptor result_;
    Globals globals_;
    std::vector<Globals> pushed_;
    UsageList usages_;
    std::size_t depth_ = 0;                                // the number of collections around the next element
    std::uint32_t innermost_ = ReportDescriptor::noParent; // of these
    std::uint64_t memberships_ = 0;
    std::array<std::vector<std::uint64_t>, 3> reportEnds_; // in bits, for each kind and report ID
};

} // namespace

std::variant<ReportDescriptor, ReportDescriptorError> parseReportDescriptor(std::span<const std::uint8_t> bytes) {
    return Parser(bytes).parse();
}

} // namespace qz::platform
