#include "cut.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "recording.h"
#include "verb.h"

namespace vcfgctl {
namespace {

constexpr size_t kLongestLine = 1 << 20;
constexpr size_t kMostLines = 1 << 20;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

struct Line {
    JsonPtr json;
    std::string kind;
    int64_t at = 0;
    int64_t of = 0;
    uint32_t event = 0;
    uint32_t cause = 0;
};

int64_t numberIn(json_object* json, const char* name) {
    json_object* value = nullptr;
    return json_object_object_get_ex(json, name, &value) && json_object_is_type(value, json_type_int)
               ? json_object_get_int64(value)
               : 0;
}

Line lineOf(JsonPtr json) {
    json_object* kind = nullptr;
    json_object_object_get_ex(json.get(), "kind", &kind);
    Line line{nullptr,
              kind != nullptr ? json_object_get_string(kind) : "",
              numberIn(json.get(), "at"),
              numberIn(json.get(), "of"),
              static_cast<uint32_t>(numberIn(json.get(), "event")),
              static_cast<uint32_t>(numberIn(json.get(), "cause"))};
    line.json = std::move(json);
    return line;
}

class Cutting {
  public:
    int read(const std::string& name) {
        const std::unique_ptr<FILE, CloseFile> file(fopen(name.c_str(), "re"));
        if (file == nullptr) {
            return refuse(name + ": " + strerror(errno));
        }
        std::string text;
        for (int c = 0; (c = fgetc(file.get())) != EOF;) {
            if (c != '\n') {
                text.push_back(static_cast<char>(c));
            } else if (!take(text)) {
                return refuse(name + ": line " + std::to_string(lines_.size() + 1) + " is none of a recording");
            } else {
                text.clear();
            }
            if (text.size() > kLongestLine || lines_.size() > kMostLines) {
                return refuse(name + ": line " + std::to_string(lines_.size() + 1) + " is too much");
            }
        }
        return lines_.empty() ? refuse(name + ": is no recording") : kDone;
    }

    // False when nothing tells of the event.
    bool select(uint32_t event) {
        std::map<uint32_t, uint32_t> causes;
        bool isThere = false;
        for (const Line& line : lines_) {
            isThere = isThere || line.event == event;
            if (line.event != 0 && line.cause != 0) {
                causes.emplace(line.event, line.cause);
            }
        }
        events_.insert(firstCause(causes, event));
        while (spread()) {
        }
        return isThere;
    }

    int write(const std::string& name) {
        RecordingFile file;
        const int status = file.open(name);
        for (size_t each = 0; status == kDone && each < lines_.size(); ++each) {
            if (isKept(each)) {
                file.put(lines_[each].json.release());
            }
        }
        return status == kDone && !file.takes() ? refuse(name + ": cannot be written") : status;
    }

  private:
    bool take(const std::string& text) {
        JsonPtr json(json_tokener_parse(text.c_str()));
        if (json == nullptr || !json_object_is_type(json.get(), json_type_object)) {
            return false;
        }
        const int64_t version = numberIn(json.get(), "recording");
        if (lines_.empty() && (version < 1 || version > kRecordingVersion)) {
            return false;
        }
        lines_.push_back(lineOf(std::move(json)));
        return true;
    }

    // A circle ends where it began.
    static uint32_t firstCause(const std::map<uint32_t, uint32_t>& causes, uint32_t event) {
        std::set<uint32_t> seen;
        for (auto cause = causes.find(event); cause != causes.end() && seen.insert(event).second;
             cause = causes.find(event)) {
            event = cause->second;
        }
        return event;
    }

    // What an event has sent and begun belongs to it, and so does what it was received as. False when nothing is new.
    bool spread() {
        const size_t before = events_.size() + messages_.size();
        for (const Line& line : lines_) {
            const bool isReceived = line.kind == "received";
            if (events_.contains(line.event) && isReceived) {
                messages_.insert(line.of);
            }
            if (events_.contains(line.event) && (line.kind == "message" || line.kind == "call")) {
                messages_.insert(line.at);
            }
            if (line.event != 0 && (events_.contains(line.cause) || (isReceived && messages_.contains(line.of)))) {
                events_.insert(line.event);
            }
        }
        return events_.size() + messages_.size() > before;
    }

    // The kernel's bytes come right before the event that they are.
    bool isKept(size_t each) const {
        const Line& line = lines_[each];
        if (each == 0 || line.kind == "object" || line.kind == "begin" || line.kind == "end" || line.kind == "lost") {
            return true;
        }
        if (line.kind == "datagram") {
            for (size_t next = each + 1; next < lines_.size(); ++next) {
                if (lines_[next].kind == "kernel") {
                    return events_.contains(lines_[next].event);
                }
            }
        }
        const bool isMessage = line.kind == "message" || line.kind == "call";
        return events_.contains(line.event) || (isMessage && messages_.contains(line.at));
    }

    std::vector<Line> lines_;
    std::set<uint32_t> events_;
    std::set<int64_t> messages_;
};

}  // namespace

int cutRecording(uint32_t event, const std::string& from, const std::string& to) {
    Cutting cutting;
    const int status = cutting.read(from);
    if (status != kDone) {
        return status;
    }
    return cutting.select(event) ? cutting.write(to)
                                 : refuse(from + ": nothing tells of event " + std::to_string(event));
}

}  // namespace vcfgctl
