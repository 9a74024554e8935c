#include "notes.h"

#include <algorithm>
#include <cstring>

#include "lines.h"
#include "print.h"

namespace vcfgctl {
namespace {

constexpr std::string_view kReceived = "received";
constexpr std::string_view kCommand = "command";
constexpr std::string_view kStatus = "status";
constexpr std::string_view kLog = "log";
constexpr std::string_view kHook = "hook";

// Up to a NUL, which is taken too.
std::string_view takeText(std::string_view& bytes) {
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    bytes.remove_prefix(std::min(bytes.size(), text.size() + 1));
    return text;
}

}  // namespace

json_object* Notes::received(const Copy& copy, std::string_view envelope, int64_t beganUs) {
    vcfg_msg_t message;
    if (envelope.size() != VCFG_MSG_HEADER_SIZE) {
        return nullptr;
    }
    memcpy(&message, envelope.data(), VCFG_MSG_HEADER_SIZE);
    const std::optional<Chains::Sent> sent = chains_.received(message, copy.event);
    if (!sent || !sent->isShown) {
        return nullptr;
    }
    json_object* line = lineAt(kReceived.data(), copy.timeUs, beganUs);
    addText(line, "program", copy.program);
    addNumber(line, "of", sent->timeUs - beganUs);
    addNumber(line, "event", copy.event);
    addNumber(line, "cause", sent->event);
    return line;
}

json_object* Notes::said(const Copy& copy, const std::string& log, std::string_view text, int64_t beganUs) const {
    const size_t end = text.ends_with('\n') ? 1 : 0;
    json_object* line = lineAt(kLog.data(), copy.timeUs, beganUs);
    addText(line, "program", copy.program);
    addText(line, "log", log);
    addNumber(line, "level", copy.code);
    addNumber(line, "event", copy.event);
    addBytes(line, text.substr(0, text.size() - end), hidden_);
    return line;
}

// It goes back to who sent what it was run for; that message is not told.
json_object* Notes::hookEnded(const Copy& copy, const std::string& hook, std::string_view said, int64_t beganUs) const {
    json_object* line = lineAt(kHook.data(), copy.timeUs, beganUs);
    addText(line, "program", copy.program);
    addText(line, "what", hidden_.text(hook));
    addNumber(line, "for", copy.message->srcEid);
    addNumber(line, "result", copy.code);
    addNumber(line, "event", copy.event);
    addNumber(line, "cause", chains_.behind(copy.message->oid));
    addBytes(line, said, hidden_);
    return line;
}

json_object* Notes::take(const Copy& copy, int64_t beganUs) {
    std::string_view bytes(vcfg_msg_text(copy.message.get()), copy.held);
    std::string_view kind = takeText(bytes);
    std::string what(takeText(bytes));
    bytes.remove_suffix(bytes.empty() ? 0 : 1);
    if (kind == kReceived) {
        return received(copy, bytes, beganUs);
    }
    if (kind == kLog) {
        return said(copy, what, bytes, beganUs);
    }
    if (kind == kHook && copy.passing == vcfg::bus::Passing::Step) {
        return hookEnded(copy, what, bytes, beganUs);
    }
    Command running{std::move(what), copy.message->oid};
    if (kind == kCommand) {
        running_[{copy.process, copy.thread}] = std::move(running);
        return nullptr;
    }
    if (kind == kStatus) {
        kind = kCommand;
        running = std::exchange(running_[{copy.process, copy.thread}], {});
    }
    json_object* line = lineAt(std::string(kind).c_str(), copy.timeUs, beganUs);
    addText(line, "program", copy.program);
    if (!running.text.empty()) {
        addText(line, "what", hidden_.text(running.text));
    }
    addNumber(line, "result", copy.code);
    addNumber(line, "event", copy.event);
    addNumber(line, "cause", running.cause);
    addBytes(line, bytes, hidden_);
    return line;
}

}  // namespace vcfgctl
