// Words as a new program takes them.
#pragma once

#include <string>
#include <vector>

// Ended by a null; as long as the words stay.
inline std::vector<char*> argumentsOf(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    return arguments;
}
