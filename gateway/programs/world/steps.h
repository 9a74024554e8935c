// System calls that must not fail: each says in its error what it was about.
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

[[noreturn]] inline void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

inline void must(long result, const std::string& what) {
    if (result < 0) {
        fail(what);
    }
}

// Creates a directory and what is missing above it.
void makeDirectories(const std::string& path);
void mountOn(const char* source, const std::string& target, const char* type, unsigned long flags, const char* options);
void bindOn(const std::string& source, const std::string& target);
// False when the file could not be written whole.
bool writeText(const std::string& path, const std::string& text);
