// SPDX-License-Identifier: MIT
#include "platform/linux/PropertyListJSON.h"
#include "tests/support/ReportDescriptorChecks.h"

/// Any text is a property list, which can be written and read back as it is, or refused with one line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto read = qz::platform::propertyListFromJSON({reinterpret_cast<const char*>(data), size});
    if (!read.value) {
        qz::test::check(!read.error.empty() && read.error.find_first_of("\r\n") == std::string::npos);
    } else {
        const auto written = qz::platform::jsonFromPropertyList(*read.value);
        const auto again = qz::platform::propertyListFromJSON(written.text);
        qz::test::check(written.exact && again.value == read.value);
    }
    return 0;
}
