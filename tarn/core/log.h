// The daemon's three log channels. In all of them a control character inside a line is shown the way C writes it ("\n",
// "\x1b"): what came from outside can neither forge a line nor drive a terminal. The newline that ends a text stays.
#pragma once

#include <syslog.h>
#include <vcfg/os.h>

#include <cstddef>
#include <string_view>

namespace logs {

// The platform's name for the source module that a file belongs to; it tags the file's log lines. Only the daemon's own
// folder counts: the checkout may lie below folders with a room's name.
constexpr const char* sourceTag(std::string_view file) {
    constexpr std::string_view kDaemon = "/tarn/";
    const size_t daemon = file.rfind(kDaemon);
    const std::string_view inside = daemon != std::string_view::npos ? file.substr(daemon + kDaemon.size() - 1) : file;
    constexpr struct {
        std::string_view room;
        const char* tag;
    } kTags[] = {{"/connection/", "tarn_connection"},
                 {"/link/", "tarn_link_wan"},
                 {"/lan/", "tarn_link_lan"},
                 {"/platform/", "tarn_wrapper"},
                 {"/mgmt/manageable_device.", "tarn_mgabdev"},
                 {"/mgmt/ntp.", "tarn_ntp"},
                 {"/mgmt/", "tarn_mgmt"},
                 {"/diag/", "tarn_mgmt"}};
    for (const auto& [room, tag] : kTags) {
        if (inside.starts_with(room)) {
            return tag;
        }
    }
    return "tarn";
}

// Framework log; through VLOG.
void framework(int level, const char* source, int line, const char* function, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

// System log at LOG_ERR, LOG_NOTICE or LOG_INFO.
void system(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// One line on standard output; its newline is added when the text has none.
void print(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace logs

// Framework log. The arguments are evaluated only when the level is on.
#define VLOG(level, ...)                                                                          \
    do {                                                                                          \
        if (vlog_levelAllow(level)) {                                                             \
            logs::framework((level), logs::sourceTag(__FILE__), __LINE__, __func__, __VA_ARGS__); \
        }                                                                                         \
    } while (false)

// An allocation that failed: its size, then the platform's word for it (there are two spellings).
#define VLOG_OUT_OF_MEMORY(size, word)                                                    \
    do {                                                                                  \
        VLOG(VLOG_ERROR, "fail to calloc memory, size = %zu", static_cast<size_t>(size)); \
        VLOG(VLOG_ERROR, "memory %s", word);                                              \
    } while (false)
