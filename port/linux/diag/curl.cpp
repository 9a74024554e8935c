// curl: how it is called for one connection, and what it tells of it.
#include <json-c/json.h>

#include <memory>

#include "tool.h"
#include "transfer.h"

namespace {

constexpr const char* kPatience[] = {"--connect-timeout", "10", "--speed-limit", "1", "--speed-time", "15"};
constexpr uint32_t kMostSeconds = 3600;

struct Put {
    void operator()(json_object* object) const { json_object_put(object); }
};
using Told = std::unique_ptr<json_object, Put>;

// The last line that is a JSON object; what stands before it are complaints.
Told toldIn(const std::string& said) {
    const auto lines = linesOf(said);
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (Told told(json_tokener_parse(line->c_str())); json_object_is_type(told.get(), json_type_object)) {
            return told;
        }
    }
    return Told(json_object_new_object());
}

uint64_t number(const Told& told, const char* key) {
    return json_object_get_uint64(json_object_object_get(told.get(), key));
}

std::string text(const Told& told, const char* key) {
    const char* const value = json_object_get_string(json_object_object_get(told.get(), key));
    return value != nullptr ? value : "";
}

std::chrono::microseconds time(const Told& told, const char* key) {
    const Seconds seconds(json_object_get_double(json_object_object_get(told.get(), key)));
    return std::chrono::duration_cast<std::chrono::microseconds>(seconds);
}

}  // namespace

Words transferCommand(const TransferTest& test) {
    Words words{"curl",
                "-q",
                "-sSgf",
                "--proto",
                "=http,https,ftp",
                "-w",
                "%{stderr}%{json}\n",
                "--max-time",
                std::to_string(test.seconds != 0 ? test.seconds : kMostSeconds)};
    words.insert(words.end(), std::begin(kPatience), std::end(kPatience));
    const Words family = familyOption(test.version);
    words.insert(words.end(), family.begin(), family.end());
    if (!test.device.empty()) {
        words.insert(words.end(), {"--interface", test.device});
    }
    if (test.upload) {
        words.insert(words.end(), {"-T", "-", "-H", "Expect:"});
        if (test.seconds == 0) {  // the length is known: it is told, and nothing is sent in pieces
            words.insert(words.end(),
                         {"-H", "Transfer-Encoding:", "-H", "Content-Length: " + std::to_string(test.length)});
        }
    }
    words.insert(words.end(), {"--url", test.url});
    return words;
}

ConnectionOutcome connectionOf(const std::string& said, int status, Stamp end) {
    const Told told = toldIn(said);
    const Stamp start = end - time(told, "time_total");
    ConnectionOutcome outcome;
    outcome.status = status;
    outcome.openRequest = start + time(told, "time_namelookup");
    outcome.openResponse = start + time(told, "time_connect");
    outcome.requested = start + time(told, "time_pretransfer");
    outcome.began = start + time(told, "time_starttransfer");
    outcome.ended = end;
    outcome.traffic = {number(told, "size_download") + number(told, "size_header"),
                       number(told, "size_upload") + number(told, "size_request")};
    outcome.localAddress = text(told, "local_ip");
    outcome.remoteAddress = text(told, "remote_ip");
    outcome.complaint = text(told, "errormsg");
    return outcome;
}
