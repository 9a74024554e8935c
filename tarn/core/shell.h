// The only place that runs a command.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace os {
class Stoppable;
}

namespace shell_detail {

// A value as one word of the command: quoted when it holds anything but [A-Za-z0-9_.:/%+=@,-], or is empty.
std::string word(std::string_view value);
inline std::string word(const char* value) {
    return word(std::string_view(value));
}
inline std::string word(const std::string& value) {
    return word(std::string_view(value));
}
inline std::string word(int value) {
    return std::to_string(value);
}
inline std::string word(unsigned value) {
    return std::to_string(value);
}

// Puts the words at the places of the format's "%s" and "%d".
template <class... Values>
std::string command(std::string_view format, const Values&... values);
std::string fill(std::string_view format, const std::string* words, size_t count);

template <class... Values>
std::string command(std::string_view format, const Values&... values) {
    const std::string words[sizeof...(Values) + 1] = {word(values)..., {}};
    return fill(format, words, sizeof...(Values));
}

}  // namespace shell_detail

// Runs a command text whose "%s" and "%d" stand for values from messages or the data model; no value can become a
// command of its own. Returns what system() returns.
int run(const std::string& command);
template <class... Values>
int shell(std::string_view format, const Values&... values) {
    return run(shell_detail::command(format, values...));
}

// The same on a thread that can be stopped: nothing when it was, -1 when the command could not be started. Nobody waits
// for such a command, so its duration is not logged.
std::optional<int> run(os::Stoppable& thread, const std::string& command);
template <class... Values>
std::optional<int> shell(os::Stoppable& thread, std::string_view format, const Values&... values) {
    return run(thread, shell_detail::command(format, values...));
}

// First line that a command prints, at most `limit` characters.
std::optional<std::string> shellFirstLine(const std::string& command, size_t limit);
