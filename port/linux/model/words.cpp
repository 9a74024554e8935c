#include "words.h"

#include <arpa/inet.h>

#include <bit>

bool isAddress(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool isIpv6Address(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isDevice(const std::string& text) {
    constexpr size_t kLongest = 15;
    return !text.empty() && text.size() <= kLongest && text[0] != '-' &&
           text.find_first_of("/ \t\n") == std::string::npos;
}

bool isHost(const std::string& text) {
    return !text.empty() && text[0] != '-' &&
           text.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
               "0123456789.:-_%") == std::string::npos;
}

std::optional<unsigned> maskWidth(const std::string& mask) {
    in_addr address{};
    if (inet_pton(AF_INET, mask.c_str(), &address) != 1) {
        return std::nullopt;
    }
    const uint32_t bits = ntohl(address.s_addr);
    const auto width = static_cast<unsigned>(std::countl_one(bits));
    return static_cast<unsigned>(std::popcount(bits)) == width ? std::optional(width) : std::nullopt;
}

std::vector<std::string> listed(std::string_view text) {
    constexpr std::string_view kBetween = ", \t";
    std::vector<std::string> parts;
    while (true) {
        const size_t begin = text.find_first_not_of(kBetween);
        if (begin == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(begin);
        parts.emplace_back(text.substr(0, text.find_first_of(kBetween)));
        text.remove_prefix(parts.back().size());
    }
}
