#include "core/path.h"

#include <charconv>

namespace path {

std::string of(std::string_view table, unsigned instance) {
    return std::string(table) + std::to_string(instance);
}

std::optional<uint8_t> instance(std::string_view table, std::string_view text) {
    if (text.substr(0, table.size()) != table) {
        return std::nullopt;
    }
    const std::string_view rest = text.substr(table.size());
    uint8_t number = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    const bool ended = end == rest.data() + rest.size() || *end == '.' || *end == ',';
    if (error != std::errc{} || number == 0 || !ended) {
        return std::nullopt;
    }
    return number;
}

bool occursIn(std::string_view text, std::string_view path) {
    for (size_t at = text.find(path); at != std::string_view::npos; at = text.find(path, at + 1)) {
        const size_t end = at + path.size();
        if (end == text.size() || text[end] < '0' || text[end] > '9') {
            return true;
        }
    }
    return false;
}

}  // namespace path

objIndex instanceId(std::initializer_list<uint8_t> numbers) {
    objIndex iid{};
    for (const uint8_t number : numbers) {
        if (iid.level < sizeof iid.idx) {
            iid.idx[iid.level++] = number;
        }
    }
    return iid;
}
