#include "option_bytes.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>

#include "environment.h"

namespace {

constexpr size_t kLongestOption = 255;
constexpr uint32_t kRoutesTag = 121;

using Bytes = std::vector<uint8_t>;

enum class Form { Addresses, Text, Seconds };

// The options that the client turns into variables with a name of their own.
struct NamedOption {
    const char* name;
    uint32_t tag;
    Form form;
};
constexpr NamedOption kNamed[] = {
    {"subnet", 1, Form::Addresses},    {"router", 3, Form::Addresses}, {"dns", 6, Form::Addresses},
    {"hostname", 12, Form::Text},      {"domain", 15, Form::Text},     {"broadcast", 28, Form::Addresses},
    {"ntpsrv", 42, Form::Addresses},   {"wins", 44, Form::Addresses},  {"lease", 51, Form::Seconds},
    {"serverid", 54, Form::Addresses}, {"tftp", 66, Form::Text},       {"bootfile", 67, Form::Text},
};

std::optional<Bytes> addressBytes(const std::string& text) {
    Bytes bytes(4);
    return inet_pton(AF_INET, text.c_str(), bytes.data()) == 1 ? std::optional(bytes) : std::nullopt;
}

std::optional<uint32_t> number(std::string_view text, uint32_t largest) {
    uint32_t value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool good = problem == std::errc() && end == text.data() + text.size() && value <= largest;
    return good ? std::optional(value) : std::nullopt;
}

// One route descriptor: width, the octets of the network that the width covers, gateway.
std::optional<Bytes> routeBytes(const std::string& network, const std::string& gateway) {
    constexpr uint32_t kWidest = 32;
    const size_t slash = network.find('/');
    const auto destination = addressBytes(network.substr(0, slash));
    const auto width = slash == std::string::npos ? std::optional(kWidest) : number(network.substr(slash + 1), kWidest);
    const auto router = addressBytes(gateway);
    if (!destination || !width || !router) {
        return std::nullopt;
    }
    Bytes bytes{static_cast<uint8_t>(*width)};
    bytes.insert(bytes.end(), destination->begin(), destination->begin() + (*width + 7) / 8);
    bytes.insert(bytes.end(), router->begin(), router->end());
    return bytes;
}

Bytes allAddresses(const std::string& text) {
    Bytes bytes;
    for (const std::string& word : words(text)) {
        if (const auto address = addressBytes(word)) {
            bytes.insert(bytes.end(), address->begin(), address->end());
        }
    }
    return bytes;
}

Bytes secondsBytes(const std::string& text) {
    const auto seconds = number(text, UINT32_MAX);
    if (!seconds) {
        return {};
    }
    return {static_cast<uint8_t>(*seconds >> 24), static_cast<uint8_t>(*seconds >> 16),
            static_cast<uint8_t>(*seconds >> 8), static_cast<uint8_t>(*seconds)};
}

Bytes namedBytes(const NamedOption& option) {
    const std::string text = variable(option.name);
    switch (option.form) {
        case Form::Addresses:
            return allAddresses(text);
        case Form::Seconds:
            return secondsBytes(text);
        case Form::Text:
            return {text.begin(), text.end()};
    }
    return {};
}

Bytes hexBytes(const std::string& text) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        uint8_t byte = 0;
        const auto [end, problem] = std::from_chars(text.data() + i, text.data() + i + 2, byte, 16);
        if (problem != std::errc() || end != text.data() + i + 2) {
            return {};
        }
        bytes.push_back(byte);
    }
    return bytes;
}

}  // namespace

Bytes classlessRoutes(std::string_view pairs) {
    const std::vector<std::string> parts = words(pairs);
    Bytes data;
    for (size_t i = 0; i + 1 < parts.size(); i += 2) {
        const auto route = routeBytes(parts[i], parts[i + 1]);
        if (!route || data.size() + route->size() > kLongestOption) {
            fprintf(stderr, "port-event: the classless routes end at a route that is none, or does not fit\n");
            break;
        }
        data.insert(data.end(), route->begin(), route->end());
    }
    return data;
}

Bytes optionData(uint32_t tag) {
    if (tag == kRoutesTag) {
        return classlessRoutes(variable("staticroutes"));
    }
    const auto named = std::find_if(std::begin(kNamed), std::end(kNamed),
                                    [tag](const NamedOption& option) { return option.tag == tag; });
    return named != std::end(kNamed) ? namedBytes(*named) : hexBytes(variable(("opt" + std::to_string(tag)).c_str()));
}

std::string optionText(uint32_t tag, const Bytes& data) {
    if (data.empty() || tag > 255) {
        return {};
    }
    const size_t length = std::min(data.size(), kLongestOption);
    Bytes whole{static_cast<uint8_t>(tag), static_cast<uint8_t>(length)};
    whole.insert(whole.end(), data.begin(), data.begin() + static_cast<std::ptrdiff_t>(length));
    std::string text;
    for (const uint8_t byte : whole) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}
