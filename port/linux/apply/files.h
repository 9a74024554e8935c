// Small files that the hooks read and write.
#pragma once

#include <string>

// Empty for a file that cannot be read.
std::string readFile(const std::string& path);
// False, with a line on standard error, when the file does not take it.
bool writeFile(const std::string& path, const std::string& text);
