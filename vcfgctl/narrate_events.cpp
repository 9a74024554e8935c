#include "narrate_events.h"

#include "names.h"
#include "narrate.h"
#include "print.h"

namespace vcfgctl {
namespace {

// What the client told its hook, which is what happened; the hook itself is how that became known.
std::string reportText(const Story& story, const Told& told, const Told& report) {
    const std::string text = fieldText(report, 1);  // "udhcpc of eth0.5: it has no lease"
    const size_t name = text.find(' ');
    const size_t colon = text.find(": ", name);
    if (colon == text.npos) {
        return processText(story, Story::reporterOf(told)) + " reported: " + text;
    }
    return processText(story, Story::reporterOf(told)) + text.substr(name, colon - name) + " reported" +
           text.substr(colon) + " (" + quoted(fieldText(told, 3)) + " ran)";
}

std::string programText(const Story& story, const Told& told) {
    if (const Told* report = story.reportOf(told); report != nullptr) {
        return reportText(story, told, *report);
    }
    const std::string seen = fieldText(told, 2);
    const std::string parent = seen.empty() ? oneLine(story.programOf(told.entry.numbers[0])) : seen;
    const std::string by =
        parent.empty() ? "" : ", started by " + parent + "[" + std::to_string(told.entry.numbers[0]) + "]";
    const std::string user = told.entry.numbers[1] == 0 ? "" : " as user " + std::to_string(told.entry.numbers[1]);
    return quoted(fieldText(told, 3)) + " ran" + user + by;
}

}  // namespace

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

bool isNotice(const Told& told) {
    return told.entry.kind == vcfg::recorder::Kind::Event &&
           (told.field(0) == "trouble" || told.field(0) == "relief" || told.field(0) == "clock");
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
    const std::string state =
        colon == event.npos ? "" : event.substr(colon + 1, event.find(':', colon + 1) - colon - 1);
    if (state != "up" && state != "down") {
        return "link event " + quoted(event);
    }
    if (link.starts_with("eth")) {
        return "cable " + link + (state == "up" ? " plugged in" : " pulled");
    }
    return "link " + link + (state == "up" ? " came up" : " went down");
}

// "eth0.5: IPv4 default route was deleted", or what is about no device.
std::string noticeText(const std::string& process, const std::string& what) {
    const size_t colon = what.find(": ");
    return colon < what.find(' ') ? process + " of " + what.substr(0, colon) + " noticed" + what.substr(colon)
                                  : process + " noticed: " + what;
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
    if (isNotice(told)) {
        return noticeText(process, what);
    }
    if (kind == "command") {
        return process + " ran the command " + quoted(what);
    }
    return process + " began with " + kind + (what.empty() ? "" : " " + quoted(what));
}

std::string receivedText(const Story& story, const Told& told) {
    const std::string sender = sourceOf(told) != 0 ? " of endpoint " + endpointText(sourceOf(told)) : "";
    return processText(story, told) + " took " + messageText(told) + sender;
}

}  // namespace vcfgctl
