#include "narrate.h"

#include <sys/wait.h>
#include <vcfg/loop.h>

#include "client/fe_wire.h"
#include "names.h"
#include "narrate_events.h"
#include "print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;
using vcfg::recorder::Kind;

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
    return process + " " + verb + (object != nullptr ? " " + model::path(*object, instanceOf(told)) : "") +
           placeOf(told);
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
    if (kind == "signal" || kind == "start") {
        return processText(story, told) + (kind == "start" ? " started " : " signalled ") +
               processText(story, processIn(told));
    }
    if (kind == "status" || kind == "failed") {
        return outcomeText(told);
    }
    return processText(story, told) + ": " + kind + (what.empty() ? "" : " " + quoted(what)) +
           (result != 0 ? " (" + std::to_string(result) + ")" : "");
}

}  // namespace

bool isTrouble(const Told& told) {
    return told.entry.kind == Kind::Failed ||
           (told.entry.kind == Kind::Step && (told.field(0) == "failed" || told.field(0) == "refused"));
}

std::string outcomeText(const Told& step) {
    if (step.field(0) == "failed") {
        return "it failed: " + fieldText(step, 1);
    }
    const int status = static_cast<int>(step.entry.numbers[0]);
    if (status == -1) {
        return "it could not be started";
    }
    return WIFSIGNALED(status) ? "it was ended by signal " + std::to_string(WTERMSIG(status))
                               : "it ended with status " + std::to_string(WEXITSTATUS(status));
}

std::string processText(const Story& story, uint32_t process) {
    const std::string program = oneLine(story.programOf(process));
    return program.empty() ? "process " + std::to_string(process) : program + "[" + std::to_string(process) + "]";
}

std::string processText(const Story& story, const Told& told) {
    return processText(story, told.entry.process);
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
