// SPDX-License-Identifier: MIT
// Loads the shared library named by the first argument as a plug-in would, looks at its version symbols and lets it go.
// The second argument is the version that it must have.
#include <cstdio>
#include <dlfcn.h>
#include <string>

namespace {

int fail(const std::string& message) {
    static_cast<void>(std::fprintf(stderr, "%s\n", message.c_str()));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return fail("usage: loads_library LIBRARY VERSION");
    }
    void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return fail(dlerror());
    }
    const auto* const number = static_cast<const double*>(dlsym(library, "QZGameControllerVersionNumber"));
    const auto* const text = static_cast<const char*>(dlsym(library, "QZGameControllerVersionString"));
    if (number == nullptr || text == nullptr) {
        return fail("a version symbol is missing");
    }
    if (*number != 1.0) {
        return fail("QZGameControllerVersionNumber is " + std::to_string(*number));
    }
    const std::string expected = "QZGameController " + std::string(argv[2]) + " (";
    const std::string found = text;
    if (!found.starts_with(expected) || !found.ends_with(")") || found.size() <= expected.size() + 1) {
        return fail("QZGameControllerVersionString is \"" + found + "\"");
    }
    if (dlclose(library) != 0) {
        return fail(dlerror());
    }
    if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
        return fail("the library stays loaded");
    }
    return 0;
}
