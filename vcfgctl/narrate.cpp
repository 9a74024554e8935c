#include "narrate.h"

#include <vcfg/loop.h>

#include <array>
#include <cstdio>
#include <ctime>

#include "client/fe_wire.h"
#include "names.h"
#include "print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;
using vcfg::recorder::Kind;

uint8_t sourceOf(const Told& told) {
    return static_cast<uint8_t>(told.entry.numbers[1]);
}

uint8_t destinationOf(const Told& told) {
    return static_cast<uint8_t>(told.entry.numbers[1] >> 8);
}

std::string messageText(const Told& told) {
    const std::string name = typeName(told.entry.numbers[0]);
    return name.empty() ? typeText(told.entry.numbers[0]) : name;
}

// Commands may end in a line's end, which is nothing to show.
std::string fieldText(const Told& told, size_t each) {
    const std::string_view text = told.field(each);
    return oneLine(text.substr(0, text.find_last_not_of('\n') + 1));
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// "eth0.5:down:0:H", as the kernel's link events are.
std::string linkText(const std::string& event) {
    const size_t colon = event.find(':');
    const std::string link = event.substr(0, colon);
    const std::string state = colon == event.npos ? "" : event.substr(colon + 1, event.find(':', colon + 1) - colon - 1);
    if (state != "up" && state != "down") {
        return "link event " + quoted(event);
    }
    if (link.starts_with("eth")) {
        return "cable " + link + (state == "up" ? " plugged in" : " pulled");
    }
    return "link " + link + (state == "up" ? " came up" : " went down");
}

std::string programText(const Story& story, const Told& told) {
    const std::string seen = fieldText(told, 2);
    const std::string parent = seen.empty() ? oneLine(story.programOf(told.entry.numbers[0])) : seen;
    const std::string by = parent.empty() ? "" : ", started by " + parent + "[" + std::to_string(told.entry.numbers[0]) + "]";
    const std::string user = told.entry.numbers[1] == 0 ? "" : " as user " + std::to_string(told.entry.numbers[1]);
    return quoted(fieldText(told, 3)) + " ran" + user + by;
}

std::string eventText(const Story& story, const Told& told) {
    const std::string kind = fieldText(told, 0);
    const std::string what = fieldText(told, 2);
    const std::string process = processText(story, told);
    if (kind == "program") {
        return programText(story, told);
    }
    if (kind == "kernel") {
        return linkText(what) + ", of which the kernel told " + process;
    }
    if (kind == "thread") {
        return process + " went on in a thread of its own" + (what.empty() ? "" : ": " + what);
    }
    if (kind == "hook") {
        return process + " ran the hook " + what;
    }
    if (kind == "timer") {
        return process + "'s timer " + quoted(what) + " ran out";
    }
    if (kind == "command") {
        return process + " ran the command " + quoted(what);
    }
    return process + " began with " + kind + (what.empty() ? "" : " " + quoted(what));
}

const char* requestVerb(uint32_t type) {
    switch (type) {
        case wire::kAdd:
            return "added an instance to";
        case wire::kDelete:
            return "deleted";
        case wire::kChangeAll:
            return "asked for a change";
        case wire::kLoad:
            return "asked for another model";
        case wire::kSet:
        case wire::kSetNoApply:
        case wire::kSetAndWait:
        case wire::kWrite:
            return "wrote";
        default:
            return "";
    }
}

// "connection/ppp.cpp:88", behind the instance.
std::string placeOf(const Told& told) {
    const std::string_view text(told.entry.text.data(), told.entry.length);
    return text.size() <= sizeof(objIndex) ? "" : " (" + oneLine(text.substr(sizeof(objIndex))) + ")";
}

std::string sentText(const Story& story, const Told& told) {
    const std::string process = processText(story, told);
    const std::string verb = destinationOf(told) == VCFG_EID_VCMD ? requestVerb(told.entry.numbers[0]) : "";
    const model::Object* object = model::find(told.entry.cause);
    if (verb.empty()) {
        return process + " sent " + messageText(told) + " to endpoint " + endpointText(destinationOf(told));
    }
    return process + " " + verb + (object != nullptr ? " " + model::path(*object, instanceOf(told)) : "") + placeOf(told);
}

std::string failedText(const Story& story, const Told& told) {
    const int code = static_cast<int>(told.entry.numbers[2]);
    const std::string what = told.entry.numbers[0] != 0 ? messageText(told) : "its call";
    return processText(story, told) + ": " + what + " to endpoint " + endpointText(destinationOf(told)) +
           " failed: " + vcfg_codeText(code);
}

std::string changedText(const Story& story, const Told& told) {
    Changed changed{};
    if (!toChanged(told, &changed)) {
        return processText(story, told) + " changed something of another data model";
    }
    const uint32_t had = told.entry.numbers[3];
    const char* verb = had == 2 ? " added " : had == 1 ? " deleted " : " changed ";
    return processText(story, told) + verb + changed.path() +
           (changed.parameter != nullptr ? " " + valuesText(told) : "");
}

std::string readText(const Story& story, const Told& told) {
    const model::Object* object = model::find(told.entry.numbers[0]);
    const int code = static_cast<int>(told.entry.numbers[3]);
    const std::string path = object != nullptr ? model::path(*object, instanceOf(told)) : "an unknown object";
    return processText(story, told) + (code == VCFG_OK ? " read " + path : " found no further instance behind " + path);
}

std::string stepText(const Story& story, const Told& told) {
    const std::string kind = fieldText(told, 0);
    const std::string what = fieldText(told, 1);
    const int result = static_cast<int>(told.entry.numbers[0]);
    if (kind == "timer") {
        return processText(story, told) + " set its timer " + quoted(what) + " to " + std::to_string(result) + " s";
    }
    if (kind == "refused") {
        return processText(story, told) + " refused it: " + what;
    }
    return processText(story, told) + ": " + kind + (what.empty() ? "" : " " + quoted(what)) +
           (result != 0 ? " (" + std::to_string(result) + ")" : "");
}

std::string receivedText(const Story& story, const Told& told) {
    const std::string sender = sourceOf(told) != 0 ? " of endpoint " + endpointText(sourceOf(told)) : "";
    return processText(story, told) + " took " + messageText(told) + sender;
}

}  // namespace

std::string agoText(int64_t timeUs, int64_t nowUs) {
    const double seconds = static_cast<double>(nowUs - timeUs) / 1e6;
    std::array<char, 48> text;
    if (seconds < 120) {
        snprintf(text.data(), text.size(), seconds < 10 ? "%.2f s ago" : "%.1f s ago", seconds);
    } else if (seconds < 7200) {
        snprintf(text.data(), text.size(), "%.0f min ago", seconds / 60);
    } else {
        snprintf(text.data(), text.size(), "%.0f h ago", seconds / 3600);
    }
    return text.data();
}

std::string clockText(int64_t timeUs, int64_t nowUs) {
    timespec wall{};
    tm broken{};
    std::array<char, 64> text;
    clock_gettime(CLOCK_REALTIME, &wall);
    const time_t then = wall.tv_sec - static_cast<time_t>((nowUs - timeUs) / 1000000);
    localtime_r(&then, &broken);
    return strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &broken) > 0 ? text.data() : "?";
}

std::string processText(const Story& story, const Told& told) {
    const std::string program = oneLine(story.programOf(told.entry.process));
    return (program.empty() ? "process " : program) + "[" + std::to_string(told.entry.process) + "]";
}

std::string sentenceOf(const Story& story, const Told& told) {
    switch (told.entry.kind) {
        case Kind::Event:
            return eventText(story, told);
        case Kind::Received:
            return receivedText(story, told);
        case Kind::Sent:
            return sentText(story, told);
        case Kind::Failed:
            return failedText(story, told);
        case Kind::Answer:
            return processText(story, told) + " answered endpoint " + endpointText(destinationOf(told));
        case Kind::Changed:
            return changedText(story, told);
        case Kind::Read:
            return readText(story, told);
        case Kind::Step:
            return stepText(story, told);
        default:
            return processText(story, told) + " was done";
    }
}

std::string causeText(const Story& story, const Told& begin) {
    if (begin.entry.kind == Kind::Event && begin.field(0) == "kernel") {
        return linkText(fieldText(begin, 2));
    }
    return sentenceOf(story, begin);
}

std::string whatText(const Told& begin) {
    return fieldText(begin, 2);
}

std::string valueBefore(const Told& change) {
    return fieldText(change, 0);
}

std::string valueAfter(const Told& change) {
    return fieldText(change, 1);
}

std::string valuesText(const Told& change) {
    return quoted(valueBefore(change)) + " -> " + quoted(valueAfter(change));
}

}  // namespace vcfgctl
