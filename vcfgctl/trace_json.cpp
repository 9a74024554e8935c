#include "trace_json.h"

#include <json-c/json.h>

#include <algorithm>

#include "json.h"
#include "names.h"
#include "narrate.h"
#include "print.h"

namespace vcfgctl {
namespace {

using vcfg::recorder::Kind;

const char* kindWord(Kind kind) {
    switch (kind) {
        case Kind::Event:
            return "event";
        case Kind::Received:
            return "received";
        case Kind::End:
            return "end";
        case Kind::Sent:
            return "sent";
        case Kind::Failed:
            return "failed";
        case Kind::Answer:
            return "answer";
        case Kind::Read:
            return "read";
        case Kind::Changed:
            return "changed";
        default:
            return "step";
    }
}

void add(json_object* line, const char* key, int64_t value) {
    json_object_object_add(line, key, json_object_new_int64(value));
}

void addChange(json_object* line, const Told& told) {
    Changed changed{};
    if (toChanged(told, &changed)) {
        const uint32_t had = told.entry.numbers[3];
        json_object_object_add(line, "path", jsonText(changed.path()));
        json_object_object_add(line, "old", (had & 1) != 0 ? jsonText(valueBefore(told)) : nullptr);
        json_object_object_add(line, "new", (had & 2) != 0 ? jsonText(valueAfter(told)) : nullptr);
    }
}

void addMessage(json_object* line, const Told& told) {
    const std::string name = typeName(told.entry.numbers[0]);
    add(line, "type", told.entry.numbers[0]);
    json_object_object_add(line, "typeName", name.empty() ? nullptr : jsonText(name));
    add(line, "srcEid", told.entry.numbers[1] & 0xff);
    add(line, "dstEid", told.entry.numbers[1] >> 8 & 0xff);
}

uint32_t causeNumber(const Story& story, const Told& told) {
    const Told* const cause = told.isBegin() ? story.causeOf(told).begin : nullptr;
    return cause != nullptr ? cause->entry.event : 0;
}

class BrowserTrace {
  public:
    explicit BrowserTrace(const Story& story) : story_(story), events_(json_object_new_array()) {}

    void take(const Told& begin) {
        int64_t endUs = begin.timeUs();
        for (const Told* step : story_.stepsOf(begin.entry.event)) {
            endUs = std::max(endUs, step->timeUs());
            if (step->entry.kind != Kind::End) {
                json_object_object_add(put(*step, "i", step->timeUs()), "s", jsonText("t"));
            }
        }
        add(put(begin, "X", begin.timeUs()), "dur", std::max<int64_t>(endUs - begin.timeUs(), 1));
        arrow(begin);
        name(begin);
    }

    json_object* end() {
        json_object* all = json_object_new_object();
        json_object_object_add(all, "traceEvents", events_);
        return all;
    }

  private:
    json_object* put(const Told& told, const char* phase, int64_t timeUs) {
        json_object* one = json_object_new_object();
        json_object_object_add(one, "name", jsonText(sentenceOf(story_, told)));
        json_object_object_add(one, "ph", jsonText(phase));
        add(one, "ts", timeUs);
        add(one, "pid", told.entry.process);
        add(one, "tid", told.entry.thread);
        json_object_object_add(one, "cat", jsonText(kindWord(told.entry.kind)));
        json_object* args = json_object_new_object();
        add(args, "event", told.entry.event);
        json_object_object_add(one, "args", args);
        json_object_array_add(events_, one);
        return one;
    }

    void arrow(const Told& begin) {
        const Link cause = story_.causeOf(begin);
        if (cause.begin == nullptr) {
            return;
        }
        const Told& from = cause.led != nullptr ? *cause.led : *cause.begin;
        add(put(from, "s", from.timeUs()), "id", begin.entry.event);
        json_object* head = put(begin, "f", begin.timeUs());
        add(head, "id", begin.entry.event);
        json_object_object_add(head, "bp", jsonText("e"));
    }

    void name(const Told& begin) {
        if (named_.insert(begin.entry.process).second) {
            json_object* one = put(begin, "M", 0);
            json_object* args = json_object_new_object();
            json_object_object_add(args, "name", jsonText(processText(story_, begin)));
            json_object_object_add(one, "name", jsonText("process_name"));
            json_object_object_add(one, "args", args);
        }
    }

    const Story& story_;
    json_object* events_;
    std::set<uint32_t> named_;
};

}  // namespace

json_object* jsonOf(const Story& story, const Told& told) {
    json_object* line = json_object_new_object();
    add(line, "t_mono_us", told.timeUs());
    json_object_object_add(line, "kind", jsonText(kindWord(told.entry.kind)));
    add(line, "event", told.entry.event);
    add(line, "cause", causeNumber(story, told));
    json_object_object_add(line, "program", jsonText(story.programOf(told.entry.process)));
    add(line, "process", told.entry.process);
    add(line, "thread", told.entry.thread);
    json_object_object_add(line, "text", jsonText(sentenceOf(story, told)));
    addChange(line, told);
    if (told.entry.kind == Kind::Received || told.entry.kind == Kind::Sent) {
        addMessage(line, told);
    }
    return line;
}

bool writeBrowserTrace(const Story& story, const std::set<uint32_t>& events, const std::string& file) {
    BrowserTrace trace(story);
    for (const Told& told : story.all()) {
        if (told.isBegin() && events.contains(told.entry.event) && story.begin(told.entry.event) == &told) {
            trace.take(told);
        }
    }
    const JsonPtr all(trace.end());
    return json_object_to_file_ext(file.c_str(), all.get(), JSON_C_TO_STRING_PLAIN) == 0;
}

}  // namespace vcfgctl
