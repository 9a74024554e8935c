// How one front-end request goes: it is served on the model in memory and answered; the keeper saves it later.
#pragma once

#include <string>
#include <vector>

#include "vcmd.h"

namespace vcfg::vcmd {

struct Request {
    bus::MessagePtr message;  // null when a hook's end answers it
    bus::ConnectionId from = 0;

    std::string_view payload() const { return {vcfg_msg_text(message.get()), message->length}; }
};

struct Staged {
    Request request;
    bus::MessagePtr answer;     // null when a hook's end answers, or nothing does
    std::vector<HookJob> jobs;  // to be run before it is answered
};

// Each serves the requests of its kind; false for all others.
bool serveRefresh(Vcmd& vcmd, Staged& staged);
bool serveWrite(Vcmd& vcmd, Staged& staged);
bool serveModel(Vcmd& vcmd, Staged& staged);
// Who serves an object, and its hooks.
void serveService(Vcmd& vcmd, Staged& staged);

// Sets the answer, and logs what should never have been asked.
void refuse(Staged& staged, int code, const std::string& why);
void confirm(Staged& staged, const objIndex& iid = {}, std::span<const std::byte> record = {});

// Answers who waits. Where memory was short for the answer, the end of the connection tells that there is none.
void answerNow(Vcmd& vcmd, Staged& staged);

// What a hook's failure looks like in the log and in answers.
std::string hookFailure(const HookRun& run);

}  // namespace vcfg::vcmd
