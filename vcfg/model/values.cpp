// Values of the data model as text, and back.
#include <arpa/inet.h>

#include <charconv>
#include <cstring>
#include <limits>

#include "describe.h"
#include "utf8.h"

namespace vcfg::model {
namespace {

template <class Number>
Number load(const Parameter& parameter, const void* record) {
    Number number;
    std::memcpy(&number, static_cast<const char*>(record) + parameter.offset, sizeof number);
    return number;
}

template <class Number>
void store(const Parameter& parameter, void* record, Number number) {
    std::memcpy(static_cast<char*>(record) + parameter.offset, &number, sizeof number);
}

// The text of a record, or its whole field when nothing ends it.
std::string_view loadText(const Parameter& parameter, const void* record) {
    const char* text = static_cast<const char*>(record) + parameter.offset;
    return {text, strnlen(text, parameter.size)};
}

void storeText(const Parameter& parameter, void* record, std::string_view text) {
    char* field = static_cast<char*>(record) + parameter.offset;
    std::memmove(field, text.data(), text.size());
    std::memset(field + text.size(), 0, parameter.size - text.size());
}

bool isAddress(int family, std::string_view text) {
    char copy[INET6_ADDRSTRLEN] = {};
    unsigned char address[sizeof(in6_addr)];
    if (text.size() >= sizeof copy) {
        return false;
    }
    text.copy(copy, text.size());
    return inet_pton(family, copy, address) == 1;
}

// A whole decimal number of exactly that many digits, or -1.
int digits(std::string_view text, size_t at, size_t count) {
    int number = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9') {
            return -1;
        }
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

bool isPrefix(std::string_view text) {
    const size_t slash = text.find('/');
    if (slash == text.npos || !isAddress(AF_INET6, text.substr(0, slash))) {
        return false;
    }
    const std::string_view length = text.substr(slash + 1);
    if (length.empty() || length.size() > 3 || (length.front() == '0' && length.size() > 1)) {
        return false;
    }
    const int bits = digits(length, 0, length.size());
    return bits >= 0 && bits <= 128;
}

bool isMac(std::string_view text) {
    if (text.size() != 17) {
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i) {
        const bool good = i % 3 == 2 ? text[i] == ':' : isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!good) {
            return false;
        }
    }
    return true;
}

bool isDay(int year, int month, int day) {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1) {
        return false;
    }
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

bool isHourAndMinute(std::string_view text, size_t at) {
    const int hour = digits(text, at, 2);
    const int minute = digits(text, at + 3, 2);
    return hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && text[at + 2] == ':';
}

// "Z", or the distance of a local time from UTC: "+08:00".
bool isZone(std::string_view text) {
    return text == "Z" || (text.size() == 6 && (text[0] == '+' || text[0] == '-') && isHourAndMinute(text, 1));
}

// "2026-01-31T23:59:59Z", seconds with or without a fraction.
bool isTime(std::string_view text) {
    constexpr size_t kFraction = 19;
    const int year = digits(text, 0, 4);
    const int second = digits(text, 17, 2);
    if (text.size() <= kFraction || year < 0 || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
        text[16] != ':') {
        return false;
    }
    if (!isDay(year, digits(text, 5, 2), digits(text, 8, 2)) || !isHourAndMinute(text, 11) || second < 0 ||
        second > 59) {
        return false;
    }
    size_t zone = kFraction;
    if (text[zone] == '.') {
        zone = text.find_first_not_of("0123456789", kFraction + 1);
        if (zone == text.npos || zone == kFraction + 1) {
            return false;
        }
    }
    return isZone(text.substr(zone));
}

// Ones, then zeros.
bool isMask(std::string_view text) {
    in_addr address{};
    if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) {
        return false;
    }
    const uint32_t zeros = ~ntohl(address.s_addr);
    return (zeros & (zeros + 1)) == 0;
}

bool isMask(const Parameter& parameter) {
    return parameter.kind == Kind::Ipv4 && std::string_view(parameter.name).ends_with("SubnetMask");
}

bool isOneOf(std::string_view values, std::string_view text) {
    while (!values.empty()) {
        const size_t comma = values.find(',');
        if (values.substr(0, comma) == text) {
            return true;
        }
        values.remove_prefix(comma == values.npos ? values.size() : comma + 1);
    }
    return false;
}

bool hasForm(const Parameter& parameter, std::string_view text) {
    if (text.empty()) {
        return true;
    }
    if (parameter.isSecret() && text == kHidden) {
        return false;
    }
    switch (parameter.kind) {
        case Kind::Enum:
            return isOneOf(parameter.values, text);
        case Kind::Ipv4:
            return isAddress(AF_INET, text) && (!isMask(parameter) || isMask(text));
        case Kind::Ipv6:
            return isAddress(AF_INET6, text);
        case Kind::Ip:
            return isAddress(AF_INET, text) || isAddress(AF_INET6, text);
        case Kind::Ipv6Prefix:
            return isPrefix(text);
        case Kind::Mac:
            return isMac(text);
        case Kind::Time:
            return isTime(text);
        default:
            return true;
    }
}

template <class Number>
std::string range() {
    return "a number from " + std::to_string(std::numeric_limits<Number>::min()) + " to " +
           std::to_string(std::numeric_limits<Number>::max());
}

// What a parameter takes, for people.
std::string accepted(const Parameter& parameter) {
    switch (parameter.kind) {
        case Kind::Bool:
            return "true or false";
        case Kind::Int:
            return range<int32_t>();
        case Kind::Uint:
            return range<uint32_t>();
        case Kind::Long:
            return range<int64_t>();
        case Kind::Ulong:
            return range<uint64_t>();
        case Kind::Text:
            return "a text of at most " + std::to_string(parameter.size - 1) + " characters";
        case Kind::Enum:
            return "one of " + std::string(parameter.values) + ", or nothing";
        case Kind::Ipv4:
            return isMask(parameter) ? "a subnet mask without holes (255.255.255.0), or nothing"
                                     : "an IPv4 address, or nothing";
        case Kind::Ipv6:
            return "an IPv6 address, or nothing";
        case Kind::Ip:
            return "an IPv4 or IPv6 address, or nothing";
        case Kind::Ipv6Prefix:
            return "an IPv6 prefix (address/0..128), or nothing";
        case Kind::Mac:
            return "a MAC address (00:11:22:aa:bb:cc), or nothing";
        case Kind::Time:
            return "a time (2026-01-31T23:59:59Z), or nothing";
    }
    return {};
}

bool refuse(const Parameter& parameter, std::string_view text, std::string* why) {
    if (why != nullptr) {
        const bool encoding = parameter.kind == Kind::Text && !isUtf8(text);
        const bool isHidden = parameter.isSecret() && text == kHidden;
        *why = std::string(parameter.name) + " takes " +
               (encoding   ? "UTF-8"
                : isHidden ? "the secret itself, not what it is shown as"
                           : accepted(parameter));
    }
    return false;
}

template <class Number>
bool setNumber(const Parameter& parameter, void* record, std::string_view text) {
    Number number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stopped != end) {
        return false;
    }
    store(parameter, record, number);
    return true;
}

bool setFlag(const Parameter& parameter, void* record, std::string_view text) {
    const bool on = text == "true" || text == "1";
    if (!on && text != "false" && text != "0") {
        return false;
    }
    store(parameter, record, static_cast<uint8_t>(on));
    return true;
}

bool setText(const Parameter& parameter, void* record, std::string_view text) {
    if (text.size() >= parameter.size || text.find('\0') != text.npos || !isUtf8(text) || !hasForm(parameter, text)) {
        return false;
    }
    storeText(parameter, record, text);
    return true;
}

}  // namespace

std::string valueText(const Parameter& parameter, const void* record) {
    switch (parameter.kind) {
        case Kind::Bool:
            return load<uint8_t>(parameter, record) != 0 ? "true" : "false";
        case Kind::Int:
            return std::to_string(load<int32_t>(parameter, record));
        case Kind::Uint:
            return std::to_string(load<uint32_t>(parameter, record));
        case Kind::Long:
            return std::to_string(load<int64_t>(parameter, record));
        case Kind::Ulong:
            return std::to_string(load<uint64_t>(parameter, record));
        default:
            return std::string(loadText(parameter, record));
    }
}

bool setValue(const Parameter& parameter, void* record, std::string_view text, std::string* why) {
    bool good = false;
    switch (parameter.kind) {
        case Kind::Bool:
            good = setFlag(parameter, record, text);
            break;
        case Kind::Int:
            good = setNumber<int32_t>(parameter, record, text);
            break;
        case Kind::Uint:
            good = setNumber<uint32_t>(parameter, record, text);
            break;
        case Kind::Long:
            good = setNumber<int64_t>(parameter, record, text);
            break;
        case Kind::Ulong:
            good = setNumber<uint64_t>(parameter, record, text);
            break;
        default:
            good = setText(parameter, record, text);
            break;
    }
    return good || refuse(parameter, text, why);
}

bool checkValue(const Parameter& parameter, const void* record, std::string* why) {
    bool good = true;
    const std::string_view text = parameter.isText() ? loadText(parameter, record) : std::string_view();
    if (parameter.kind == Kind::Bool) {
        good = load<uint8_t>(parameter, record) <= 1;
    } else if (parameter.isText()) {
        good = text.size() < parameter.size && isUtf8(text) && hasForm(parameter, text);
    }
    return good || refuse(parameter, text, why);
}

void copyValue(const Parameter& parameter, void* record, const void* from) {
    if (parameter.isText()) {
        storeText(parameter, record, loadText(parameter, from));
    } else {
        std::memcpy(static_cast<char*>(record) + parameter.offset, static_cast<const char*>(from) + parameter.offset,
                    parameter.size);
    }
}

}  // namespace vcfg::model
