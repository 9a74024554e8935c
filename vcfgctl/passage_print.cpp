#include "passage_print.h"

#include <json-c/json.h>
#include <vcfg/loop.h>

#include <cstdio>

#include "client/deadline.h"
#include "names.h"
#include "payload.h"
#include "print.h"

namespace vcfgctl {
namespace {

double seconds(int64_t us) {
    return static_cast<double>(us) / 1e6;
}

// "2(tarn)/tarn[512]"
std::string partyText(const Party& party) {
    const std::string process = party.process > 0 ? "[" + std::to_string(party.process) + "]" : "";
    return endpointText(party.eid) + (party.program.empty() && process.empty() ? "" : "/") + oneLine(party.program) +
           process;
}

std::string resultText(const Passage& passage) {
    char text[64] = "";
    const vcfg_msg_t& message = *passage.copy.message;
    const int code =
        passage.kind == Kind::Failure ? passage.copy.code : static_cast<int>(static_cast<int32_t>(message.statCode));
    snprintf(text, sizeof text, " code %d", code);
    std::string result = text;
    if (passage.tookUs) {
        snprintf(text, sizeof text, " after %.3f ms", static_cast<double>(*passage.tookUs) / 1e3);
        result += text;
    }
    return passage.kind == Kind::Failure ? result + ": " + vcfg_codeText(code) : result;
}

// What a message is about: "IP.Interface.1", or "iid 1" where its type alone says of which object.
std::string subject(const vcfg_msg_t& message) {
    const std::string path = pathOf(message);
    const bool hasNumbersOnly = message.oid == 0 && message.objIid.level > 0;
    const std::string numbers = iidText(message.objIid);
    return hasNumbersOnly ? " iid " + numbers.substr(numbers.find(':') + 1) : path.empty() ? "" : " " + path;
}

void printText(const Passage& passage, bool showSecrets) {
    const vcfg_msg_t& message = *passage.copy.message;
    const bool isRequest = passage.kind == Kind::Message || passage.kind == Kind::Call;
    std::string line = partyText(passage.from) + " -> " + partyText(passage.to) + " " + typeText(message.type);
    line += message.requestId != 0 ? " #" + std::to_string(message.requestId) : "";
    line += isRequest ? "" : resultText(passage);
    line += subject(message);
    if (passage.copy.held > 0) {
        line += " \"" + oneLine(shownPayload(passage.copy, showSecrets).text) + "\"";
    }
    printf("%.6f %-7s %s\n", seconds(passage.copy.timeUs), kindWord(passage.kind), line.c_str());
}

void addParty(json_object* line, const std::string& side, const Party& party) {
    json_object_object_add(line, (side + "Process").c_str(),
                           party.process > 0 ? json_object_new_int64(party.process) : nullptr);
    json_object_object_add(line, (side + "Program").c_str(), party.program.empty() ? nullptr : jsonText(party.program));
}

void printJson(const Passage& passage, bool showSecrets) {
    const vcfg_msg_t& message = *passage.copy.message;
    const std::string path = pathOf(message);
    const Shown shown = shownPayload(passage.copy, showSecrets);
    json_object* line = json_object_new_object();
    json_object_object_add(line, "t_mono_us", json_object_new_int64(passage.copy.timeUs));
    json_object_object_add(line, "kind", jsonText(kindWord(passage.kind)));
    addEnvelope(line, message);
    addParty(line, "src", passage.from);
    addParty(line, "dst", passage.to);
    json_object_object_add(line, "path", path.empty() ? nullptr : jsonText(path));
    json_object_object_add(line, "payload", jsonText(shown.text));
    addBytes(line, message, shown.isWhole ? std::optional(passage.copy.held) : std::nullopt);
    json_object_object_add(line, "tookUs", passage.tookUs ? json_object_new_int64(*passage.tookUs) : nullptr);
    json_object_object_add(line, "code",
                           passage.kind == Kind::Failure ? json_object_new_int(passage.copy.code) : nullptr);
    printJsonLine(line);
}

}  // namespace

void printPassage(const Passage& passage, bool json, bool showSecrets) {
    json ? printJson(passage, showSecrets) : printText(passage, showSecrets);
}

void printLost(uint32_t count, bool json) {
    const int64_t now = vcfg::monotonicUs();
    if (!json) {
        printf("%.6f %-7s %u messages: they came faster than they could be shown\n", seconds(now), "lost", count);
        return;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "t_mono_us", json_object_new_int64(now));
    json_object_object_add(line, "kind", jsonText("lost"));
    json_object_object_add(line, "count", json_object_new_int64(count));
    printJsonLine(line);
}

}  // namespace vcfgctl
