#include "message.h"

#include <algorithm>
#include <cstdint>

#include "address.h"

namespace mail {
namespace {

constexpr size_t longestLine = 998;
constexpr size_t encodedLine = 57;  // bytes that fill a line of 76 characters
constexpr size_t encodedWord = 39;  // bytes whose encoded word fits behind the header's name in 76 characters
constexpr size_t longestPlainHeader = 900;

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

std::string base64(std::string_view bytes) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - at);
        uint32_t group = 0;
        for (size_t each = 0; each < 3; ++each) {
            group = group << 8 | (each < count ? static_cast<unsigned char>(bytes[at + each]) : 0U);
        }
        for (size_t each = 0; each < 4; ++each) {
            text += each <= count ? digits[group >> (18 - 6 * each) & 63U] : '=';
        }
    }
    return text;
}

// Line ends of any kind become CRLF, and the last line has one.
std::string withLineEnds(std::string_view text) {
    std::string lines;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\r' || text[at] == '\n') {
            if (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n') {
                ++at;
            }
            lines += "\r\n";
        } else {
            lines += text[at];
        }
    }
    if (lines.empty() || lines.back() != '\n') {
        lines += "\r\n";
    }
    return lines;
}

bool hasLongLine(std::string_view lines) {
    size_t length = 0;
    for (const char character : lines) {
        length = character == '\n' ? 0 : length + 1;
        if (length > longestLine) {
            return true;
        }
    }
    return false;
}

std::string encodedBody(std::string_view lines) {
    std::string text;
    for (size_t at = 0; at < lines.size(); at += encodedLine) {
        text += base64(lines.substr(at, encodedLine)) + "\r\n";
    }
    return text;
}

// As many whole characters as one encoded word holds.
size_t wordSize(std::string_view text) {
    size_t size = 0;
    while (size < text.size() && size + characterSize(text[size]) <= encodedWord) {
        size += characterSize(text[size]);
    }
    return size;
}

std::string dateText(time_t date) {
    tm parts{};
    gmtime_r(&date, &parts);
    char text[64];
    const size_t size = strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S +0000", &parts);
    return {text, size};
}

std::string joined(const std::vector<std::string>& addresses) {
    std::string text;
    for (const std::string& address : addresses) {
        text += (text.empty() ? "" : ",\r\n ") + address;
    }
    return text;
}

}  // namespace

std::string headerText(std::string_view text) {
    // What looks like an encoded word has to be one.
    if (isAscii(text) && text.find("=?") == std::string_view::npos && text.size() <= longestPlainHeader) {
        return std::string(text);
    }
    std::string words;
    while (!text.empty()) {
        const size_t size = wordSize(text);
        words += (words.empty() ? "" : "\r\n ") + ("=?UTF-8?B?" + base64(text.substr(0, size)) + "?=");
        text.remove_prefix(size);
    }
    return words;
}

std::string compose(const Request& request, time_t date, const std::string& identity) {
    const std::string lines = withLineEnds(request.body);
    const bool plain = isAscii(lines) && !hasLongLine(lines);
    return "Date: " + dateText(date) + "\r\nFrom: " + request.from + "\r\nTo: " + joined(request.to) +
           "\r\nSubject: " + headerText(request.subject) + "\r\nMessage-ID: <" + identity + "@" +
           request.from.substr(request.from.rfind('@') + 1) +
           ">\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: " +
           (plain ? "7bit" : "base64") + "\r\n\r\n" + (plain ? lines : encodedBody(lines));
}

}  // namespace mail
