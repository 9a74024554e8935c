// What a client tells its hook: texts in the environment. Every value comes from the network.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The words of a text that blanks separate.
std::vector<std::string> words(std::string_view text);
// A variable of the environment; empty when it is not set.
std::string variable(const char* name);
