// The entries of messages, reads and changes.
#include <cstdio>
#include <cstring>

#include "client/fe_wire.h"
#include "client/monitors.h"
#include "events.h"
#include "thread.h"

namespace vcfg::recorder {
namespace {

constexpr uint16_t kMostChanges = 256;  // of one event: a whole model that is loaded must not push all else out

uint32_t endsOf(const vcfg_msg_t& message) {
    return uint32_t{message.srcEid} | uint32_t{message.dstEid} << 8;
}

std::string_view bytesOf(const objIndex& iid) {
    return {reinterpret_cast<const char*>(&iid), sizeof iid};
}

void setInstance(Entry& entry, const objIndex& iid) {
    memcpy(&entry.numbers[1], &iid, sizeof iid);
}

// Requests that only ask are many, and nothing comes of them.
bool isQuestion(const vcfg_msg_t& message) {
    return message.dstEid == VCFG_EID_VCMD &&
           (message.type == wire::kRefresh || message.type == wire::kPing || message.type == wire::kWatch ||
            message.type == wire::kService || message.type == wire::kStartUp || message.type == wire::kLoadPart);
}

// "connection/ppp.cpp:88": the last folder is enough. What is asked for next may be asked for elsewhere.
void appendPlace(Entry& entry, Thread& thread) {
    if (thread.file == nullptr) {
        return;
    }
    const std::string_view whole = thread.file;
    const size_t name = whole.rfind('/');
    const size_t folder = name == whole.npos || name == 0 ? whole.npos : whole.rfind('/', name - 1);
    char line[16];
    snprintf(line, sizeof line, ":%d", thread.line);
    append(entry, whole.substr(folder == whole.npos ? 0 : folder + 1));
    append(entry, line);
    thread.file = nullptr;
}

void start(Entry& entry, Kind kind, const Thread& thread, const vcfg_msg_t& message, const Trip& trip,
           int64_t timeUs = 0) {
    start(entry, kind, thread, timeUs);
    entry.numbers = {message.type, endsOf(message), trip.connection, trip.order};
}

// Where the thread's last event was a message, too, the program's name stands there already.
void beginReceived(Thread& thread, const vcfg_msg_t& message, const Trip& trip) {
    Entry& entry = thread.begun;
    const uint16_t named = entry.kind == Kind::Received ? entry.length : 0;
    start(entry, Kind::Received, thread, message, trip);
    entry.length = named;
    if (named == 0) {
        append(entry, program_invocation_short_name);
    }
}

}  // namespace

uint32_t freshConnection() {
    File* const into = file.load(std::memory_order_acquire);
    return into == nullptr ? 0 : into->lastConnection.fetch_add(1, std::memory_order_relaxed) + 1;
}

void received(const vcfg_msg_t& message, const Trip& trip) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    Thread& thread = mine();
    beginReceived(thread, message, trip);
    open(*into, thread);
    if (bus::isRecorded()) {
        const std::string_view envelope(reinterpret_cast<const char*>(&message), VCFG_MSG_HEADER_SIZE);
        bus::copyNote({bus::Passing::Event, "received", "", 0, 0, envelope});
    }
}

void askedForNext() {
    if (!isOn()) {
        return;
    }
    Thread& thread = mine();
    if (thread.isMessage) {
        thread.event = 0;
        thread.isMessage = false;
    }
}

void sent(const vcfg_msg_t& message, const Trip& trip, int64_t timeUs) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    Thread& thread = mine();
    Entry entry;
    start(entry, Kind::Sent, thread, message, trip, timeUs);
    if (message.dstEid == VCFG_EID_VCMD) {
        entry.cause = message.oid;
        append(entry, bytesOf(message.objIid));
        appendPlace(entry, thread);
    }
    add(*into, thread, isQuestion(message) ? Lane::Brief : Lane::Lasting, entry);
}

void failed(const vcfg_msg_t& message, int code) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    Thread& thread = mine();
    Entry entry;
    start(entry, Kind::Failed, thread, message, {});
    entry.numbers[2] = static_cast<uint32_t>(code);
    add(*into, thread, Lane::Lasting, entry);
}

// Only of an event that something has come of.
void answered(const vcfg_msg_t& answer) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    const Thread& thread = mine();
    if (thread.event == 0 || !thread.isKept) {
        return;
    }
    Entry entry;
    start(entry, Kind::Answer, thread, answer, {});
    entry.numbers[2] = answer.statCode;
    store(*into, Lane::Lasting, entry);
}

void wasRead(uint32_t oid, const objIndex& iid, int code, uint32_t change) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr || mine().event == 0) {
        return;
    }
    Entry entry = entryOf(Kind::Read, mine());
    entry.numbers = {oid, 0, 0, static_cast<uint32_t>(code)};
    entry.cause = change;
    setInstance(entry, iid);
    add(*into, mine(), Lane::Brief, entry);
}

void changed(uint32_t oid, uint16_t parameter, const objIndex& iid, const std::optional<std::string_view>& before,
             const std::optional<std::string_view>& after) {
    constexpr size_t kMostOfValue = Entry::kMostText / 2 - 1;
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr || ++mine().changes > kMostChanges) {
        return;
    }
    Entry entry = entryOf(Kind::Changed, mine());
    entry.numbers = {oid | uint32_t{parameter} << 16, 0, 0, (before ? 1u : 0u) | (after ? 2u : 0u)};
    setInstance(entry, iid);
    appendField(entry, before.value_or("").substr(0, kMostOfValue));
    append(entry, after.value_or("").substr(0, kMostOfValue));
    add(*into, mine(), Lane::Lasting, entry);
}

}  // namespace vcfg::recorder
