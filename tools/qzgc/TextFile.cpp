// SPDX-License-Identifier: MIT
#include "tools/qzgc/TextFile.h"

#include "tools/qzgc/JSONText.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace qz::tools {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

/// A file's name as it stands in a message of one line.
std::string inPrint(const std::string& name) {
    return name.find_first_of("\r\n") == std::string::npos ? name : jsonString(name);
}

std::string remedyOf(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return "; check the name";
    case EISDIR:
        return "; name a file in it";
    case EACCES:
    case EPERM:
        return "; ask for the permission to read it";
    case EBADF:
        return "; it is closed, or not open for reading";
    default:
        return "";
    }
}

std::string readAll(std::FILE* file, const std::string& name) {
    std::string text;
    std::array<char, 65536> buffer{};
    while (file != nullptr && std::feof(file) == 0 && std::ferror(file) == 0) {
        text.append(buffer.data(), std::fread(buffer.data(), 1, buffer.size(), file));
    }
    if (file == nullptr || std::ferror(file) != 0) {
        const int error = errno;
        throw FileError(name, "cannot be read: " + std::generic_category().message(error) + remedyOf(error));
    }
    return text;
}

} // namespace

FileError::FileError(const std::string& name, const std::string& reason)
    : std::runtime_error(inPrint(name) + ": " + reason) {}

std::string readFile(const std::string& name) {
    if (name == "-") {
        return readAll(stdin, "standard input");
    }
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
    return readAll(file.get(), name);
}

} // namespace qz::tools
