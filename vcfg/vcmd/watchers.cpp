#include "watchers.h"

#include "client/fe_wire.h"
#include "message.h"
#include "recorder/events.h"
#include "store/clock.h"
#include "store/json_text.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

constexpr size_t kMostWatchers = 32;
constexpr size_t kLongestNews = 60000;

void addText(json_object* line, const char* name, const std::string& text) {
    json_object_object_add(line, name, json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

void addValue(json_object* line, const char* name, const std::optional<std::string>& value) {
    if (value) {
        addText(line, name, *value);
    } else {
        json_object_object_add(line, name, nullptr);
    }
}

std::string changeLine(const store::Change& change, const std::string& by, std::optional<uint8_t> refreshedFor) {
    const store::JsonPtr line(json_object_new_object());
    json_object_object_add(line.get(), "t_mono_us", json_object_new_int64(monotonicUs()));
    addText(line.get(), "path", change.path);
    addValue(line.get(), "old", change.before);
    addValue(line.get(), "new", change.after);
    addText(line.get(), "by", by);
    if (const uint32_t event = recorder::eventHere(); event != 0) {
        json_object_object_add(line.get(), "event", json_object_new_int64(event));
    }
    if (refreshedFor) {
        json_object_object_add(line.get(), "refreshedFor", json_object_new_int(*refreshedFor));
    }
    return store::textOf(line.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}

bool wants(const Watchers::Watcher& watcher, const std::string& path) {
    for (const std::string& pattern : watcher.patterns) {
        if (model::pathMatches(pattern, path)) {
            return true;
        }
    }
    return watcher.patterns.empty();
}

// False when the watcher is gone or does not read.
bool send(const Watchers::Watcher& watcher, bus::Server& server, std::string_view lines) {
    const bus::MessagePtr message = newMessage(wire::kChange, watcher.eid, lines, true);
    if (message == nullptr) {
        return false;
    }
    message->requestId = watcher.requestId;
    return server.answer(watcher.connection, *message) == VCFG_OK;
}

bool tell(const Watchers::Watcher& watcher, bus::Server& server, const std::vector<Watchers::News>& news) {
    std::string lines;
    for (const Watchers::News& one : news) {
        if (!wants(watcher, one.path)) {
            continue;
        }
        if (lines.size() + one.line.size() > kLongestNews) {
            if (!send(watcher, server, lines)) {
                return false;
            }
            lines.clear();
        }
        lines.append(lines.empty() ? "" : "\n").append(one.line);
    }
    return lines.empty() || send(watcher, server, lines);
}

// A watcher that has gone is noticed when something is sent to it: an empty line of news hurts nobody.
void dropGone(Watchers& watchers, bus::Server& server) {
    std::erase_if(watchers.all, [&](const Watchers::Watcher& one) { return !send(one, server, ""); });
}

}  // namespace

int addWatcher(Watchers& watchers, bus::Server& server, bus::ConnectionId connection, const vcfg_msg_t& request,
               std::string_view patterns) {
    if (watchers.all.size() >= kMostWatchers) {
        dropGone(watchers, server);
    }
    if (watchers.all.size() >= kMostWatchers) {
        return VCFG_ERR_FULL;
    }
    Watchers::Watcher watcher{connection, request.srcEid, request.requestId, {}};
    while (!patterns.empty()) {
        const size_t end = patterns.find('\n');
        if (end != 0) {
            watcher.patterns.emplace_back(patterns.substr(0, end));
        }
        patterns.remove_prefix(end == patterns.npos ? patterns.size() : end + 1);
    }
    watchers.all.push_back(std::move(watcher));
    return VCFG_OK;
}

void noteChange(Watchers& watchers, const store::Change& change, const std::string& by) {
    if (!watchers.all.empty()) {
        watchers.news.push_back({change.path, changeLine(change, by, watchers.refreshedFor)});
    }
}

void tellWatchers(Watchers& watchers, bus::Server& server) {
    if (watchers.news.empty()) {
        return;
    }
    for (auto one = watchers.all.begin(); one != watchers.all.end();) {
        if (tell(*one, server, watchers.news)) {
            ++one;
            continue;
        }
        VCMD_LOG(VLOG_INFO, "endpoint %u watches no more", one->eid);
        one = watchers.all.erase(one);
    }
    watchers.news.clear();
}

}  // namespace vcfg::vcmd
