// SPDX-License-Identifier: MIT
#include "platform/report/ReportDecoder.h"

#include <algorithm>

namespace qz::platform {

namespace {

constexpr std::size_t bitsPerWord = 64;

/// How many words are kept for comparing: 32 KiB of reports, several times what the largest real device sends. Reports
/// beyond them are decoded whole each time, which answers the same.
constexpr std::size_t maximumWords = 4096;

/// `count` ones from bit `from` on; `from` below 64, and what goes beyond bit 63 is left out.
constexpr std::uint64_t ones(std::size_t from, std::size_t count) {
    return (count >= bitsPerWord ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1) << from;
}

/// The first bit beyond all fields that `input` has in its report.
std::size_t endOfFields(const ReportInput& input) {
    return std::size_t{input.field.offset} + std::size_t{input.field.width} * input.count;
}

std::size_t bytesOf(std::size_t bits) {
    return (bits + 7) / 8;
}

} // namespace

ReportDecoder::ReportDecoder(const ReportDescriptor& descriptor) : hasReportIDs_(descriptor.inputHasReportIDs) {
    std::uint32_t highestID = 0;
    std::uint32_t all = 0;
    std::uint32_t usages = 0; // of the Array with the most
    for (const ReportInput& input : descriptor.inputs) {
        highestID = std::max(highestID, input.reportID);
        all += input.isArray ? 1 : input.elementCount;
        usages = std::max(usages, input.isArray ? input.elementCount : 0);
    }
    marks_.resize((usages + bitsPerWord - 1) / bitsPerWord);
    fields_.reserve(all);
    reportOfID_.resize(highestID + 1U);
    std::size_t most = 0;
    for (const ReportInput& input : descriptor.inputs) {
        if (reportOfID_[input.reportID] == 0 && input.elementCount != 0) {
            most = std::max(most, addReport(descriptor, input.reportID));
        }
    }
    changed_.resize(most);
}

std::size_t ReportDecoder::addReport(const ReportDescriptor& descriptor, std::uint32_t id) {
    Report report{.firstField = static_cast<std::uint32_t>(fields_.size())};
    std::size_t elements = 0;
    for (const ReportInput& input : descriptor.inputs) {
        if (input.reportID == id) {
            addFields(input);
            report.end = bytesOf(endOfFields(input));
            elements += input.elementCount;
        }
    }
    report.endField = static_cast<std::uint32_t>(fields_.size());
    addWords(report);
    reports_.push_back(report);
    reportOfID_[id] = static_cast<std::uint16_t>(reports_.size());
    return elements;
}

void ReportDecoder::addFields(const ReportInput& input) {
    if (input.isArray) {
        fields_.push_back({input.field, true, input.isRelative, static_cast<std::uint32_t>(arrays_.size()),
                           static_cast<std::uint32_t>(endOfFields(input))});
        arrays_.push_back(input);
        return;
    }
    ReportField bits = input.field;
    for (std::uint32_t i = 0; i < input.elementCount; ++i) {
        fields_.push_back({bits, false, input.isRelative, input.firstElement + i, bits.offset + bits.width});
        bits.offset += bits.width;
    }
}

void ReportDecoder::addWords(Report& report) {
    report.firstWord = report.endWord = static_cast<std::uint32_t>(words_.size());
    for (std::uint32_t f = report.firstField; f < report.endField; ++f) {
        const auto end = std::size_t{fields_[f].end};
        for (std::size_t at = fields_[f].bits.offset; at < end; at = endOfLastWord()) {
            const bool isCovered = words_.size() > report.firstWord && at < endOfLastWord();
            if (!isCovered && words_.size() == maximumWords) {
                words_.resize(report.firstWord);
                return;
            }
            if (!isCovered) {
                words_.push_back({.offset = static_cast<std::uint32_t>(at / 8), .firstField = f});
            }
            enterBits(words_.back(), at, end, f);
        }
    }
    report.endWord = static_cast<std::uint32_t>(words_.size());
}

std::size_t ReportDecoder::endOfLastWord() const {
    return std::size_t{words_.back().offset} * 8 + bitsPerWord;
}

void ReportDecoder::enterBits(Word& word, std::size_t at, std::size_t end, std::uint32_t f) const {
    const std::size_t from = at - std::size_t{word.offset} * 8;
    const std::size_t endOfBytes = bytesOf(std::min(from + (end - at), bitsPerWord));
    for (std::size_t byte = from / 8; byte < endOfBytes; ++byte) {
        if ((word.carrying >> (8 * byte) & 0xffU) == 0) {
            word.fieldOf[byte] = static_cast<std::uint8_t>(f - word.firstField);
        }
    }
    const std::uint64_t bits = ones(from, end - at);
    word.carrying |= bits;
    if (fields_[f].isRelative) {
        (fields_[f].isArray ? word.always : word.relative) |= bits;
    }
}

void ReportDecoder::forgetReports() noexcept {
    for (Report& report : reports_) {
        report.received = 0;
    }
}

[[gnu::hot]] std::span<const std::uint32_t> ReportDecoder::feed(std::span<const std::uint8_t> report,
                                                                std::span<Value> values) {
    changedCount_ = 0;
    if (report.empty()) {
        return {};
    }
    std::uint8_t id = 0;
    if (hasReportIDs_) {
        id = report.front();
        report = report.subspan(1);
    }
    if (id >= reportOfID_.size() || reportOfID_[id] == 0) {
        return {};
    }
    Report& known = reports_[reportOfID_[id] - 1U];
    const auto bytes = report.first(std::min(report.size(), known.end));
    if (known.firstWord != known.endWord && bytes.size() == known.received) {
        takeChanges(known, bytes, values);
    } else {
        takeAll(known, bytes, values);
    }
    return {changed_.data(), changedCount_};
}

void ReportDecoder::takeAll(Report& report, std::span<const std::uint8_t> bytes, std::span<Value> values) {
    report.received = bytes.size();
    for (std::uint32_t w = report.firstWord; w < report.endWord; ++w) {
        words_[w].last = loadLittleEndian(bytes, words_[w].offset);
    }
    for (std::uint32_t f = report.firstField; f < report.endField; ++f) {
        readField(fields_[f], bytes, values);
    }
}

[[gnu::hot]] void ReportDecoder::takeChanges(const Report& report, std::span<const std::uint8_t> bytes,
                                             std::span<Value> values) {
    std::uint32_t next = report.firstField; // a field that goes on in another word is looked at once
    for (std::uint32_t w = report.firstWord; w < report.endWord; ++w) {
        Word& word = words_[w];
        const std::uint64_t now = loadLittleEndian(bytes, word.offset);
        std::uint64_t news = ((now ^ word.last) & word.carrying) | (now & word.relative) | word.always;
        word.last = now;
        const std::size_t begin = std::size_t{word.offset} * 8;
        while (news != 0) {
            const auto bit = static_cast<std::size_t>(std::countr_zero(news));
            next = std::max(next, word.firstField + word.fieldOf[bit / 8]);
            while (next < report.endField && fields_[next].end <= begin + bit) {
                ++next;
            }
            if (next == report.endField) {
                break; // what is left is of the last field, which has been looked at
            }
            const std::size_t end = fields_[next].end - begin;
            readField(fields_[next++], bytes, values);
            news &= end < bitsPerWord ? ~std::uint64_t{0} << end : 0;
        }
    }
}

[[gnu::hot]] void ReportDecoder::readField(const Field& field, std::span<const std::uint8_t> bytes,
                                           std::span<Value> values) {
    if (field.isArray) {
        if (bytesOf(field.end) <= bytes.size()) {
            readArray(arrays_[field.index], bytes, values);
        }
    } else if (field.bits.end() <= bytes.size()) {
        update(values[field.index], field.index, fieldValue(bytes, field.bits), field.isRelative);
    }
}

void ReportDecoder::readArray(const ReportInput& array, std::span<const std::uint8_t> bytes, std::span<Value> values) {
    std::ranges::fill(marks_, 0);
    ReportField slot = array.field;
    for (std::uint32_t i = 0; i < array.count; ++i) {
        const std::int64_t value = fieldValue(bytes, slot);
        // Below the minimum this is a number that is no position at all.
        const auto position = static_cast<std::uint64_t>(value - array.logicalMin);
        if (value <= array.logicalMax && position < array.elementCount) {
            marks_[position / bitsPerWord] |= std::uint64_t{1} << (position % bitsPerWord);
        }
        slot.offset += slot.width;
    }
    for (std::uint32_t i = 0; i < array.elementCount; ++i) {
        update(values[array.firstElement + i], array.firstElement + i,
               static_cast<std::int64_t>(marks_[i / bitsPerWord] >> (i % bitsPerWord) & 1U), array.isRelative);
    }
}

void ReportDecoder::update(Value& known, std::uint32_t element, std::int64_t value, bool isRelative) {
    if (known != value || (isRelative && value != 0)) {
        known = value;
        changed_[changedCount_++] = element;
    }
}

} // namespace qz::platform
