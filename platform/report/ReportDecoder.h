// SPDX-License-Identifier: MIT
#pragma once

#include "platform/report/ReportDescriptor.h"

#include <array>

namespace qz::platform {

/// Finds out what is new in a report. Everything that does not depend on the report's bytes is decided when the decoder
/// is made: where the fields are, and which of them have bits in which byte.
class ReportDecoder {
public:
    using Value = std::optional<std::int64_t>;

    explicit ReportDecoder(const ReportDescriptor& descriptor);

    /// Takes a report in, its ID in front where the descriptor has report IDs, and updates `values`, one for each
    /// element. Answers which elements' values are to be delivered, as ReportDevice::feed does.
    std::span<const std::uint32_t> feed(std::span<const std::uint8_t> report, std::span<Value> values);

    /// From now on nothing is known of earlier reports; the next one of each ID is compared with `values` alone.
    void forgetReports() noexcept;

private:
    /// The bits of one element, or those of one Array.
    struct Field {
        ReportField bits; ///< an Array's: its first slot
        bool isArray = false;
        bool isRelative = false;
        std::uint32_t index = 0; ///< of the element or, for an Array, in `arrays_`
        std::uint32_t end = 0;   ///< the first bit beyond it
    };
    /// Eight bytes of a report, at least one of which belongs to a field.
    struct Word {
        std::uint32_t offset = 0;              ///< in bytes
        std::uint32_t firstField = 0;          ///< the first field that has bits here
        std::uint64_t carrying = 0;            ///< the bits that belong to fields
        std::uint64_t relative = 0;            ///< the bits that belong to relative fields
        std::uint64_t always = 0;              ///< the bits that belong to relative Arrays: their 0 may name a usage
        std::uint64_t last = 0;                ///< as in the last report
        std::array<std::uint8_t, 8> fieldOf{}; ///< for each byte its first field, counted from `firstField`
    };
    struct Report {
        std::uint32_t firstField = 0;
        std::uint32_t endField = 0;
        std::uint32_t firstWord = 0;
        std::uint32_t endWord = 0; ///< equal to `firstWord` when the report is not compared
        std::size_t end = 0;       ///< bytes up to the end of the last field
        std::size_t received = 0;  ///< of these, those that the last report had; 0: nothing to compare with
    };

    /// Answers how many elements the report has.
    std::size_t addReport(const ReportDescriptor& descriptor, std::uint32_t id);
    void addFields(const ReportInput& input);
    void addWords(Report& report);
    void enterBits(Word& word, std::size_t at, std::size_t end, std::uint32_t f) const;
    std::size_t endOfLastWord() const;
    void takeAll(Report& report, std::span<const std::uint8_t> bytes, std::span<Value> values);
    void takeChanges(const Report& report, std::span<const std::uint8_t> bytes, std::span<Value> values);
    void readField(const Field& field, std::span<const std::uint8_t> bytes, std::span<Value> values);
    void readArray(const ReportInput& array, std::span<const std::uint8_t> bytes, std::span<Value> values);
    void update(Value& known, std::uint32_t element, std::int64_t value, bool isRelative);

    bool hasReportIDs_;
    std::vector<std::uint16_t> reportOfID_; ///< one more than the index in `reports_`; 0: no such report
    std::vector<Report> reports_;
    std::vector<Field> fields_;
    std::vector<ReportInput> arrays_;
    std::vector<Word> words_;
    std::vector<std::uint64_t> marks_;   ///< scratch of readArray: a bit for each usage that a slot names
    std::vector<std::uint32_t> changed_; ///< as long as there are elements in any report
    std::size_t changedCount_ = 0;       ///< how many of them `feed` answers
};

} // namespace qz::platform
