// The entries of what the programs tell.
#include "events.h"

#include <new>

#include "program.h"
#include "secrets.h"
#include "thread.h"

namespace vcfg::recorder {
namespace {

// Where memory is short, the text is missed and nothing else.
void appendMasked(Entry& entry, std::string_view text) {
    try {
        append(entry, masked(text));
    } catch (const std::bad_alloc&) {
        append(entry, "(memory is short)");
    }
}

}  // namespace

uint32_t begin(std::string_view kind, uint32_t cause, std::string_view what) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return 0;
    }
    Thread& thread = mine();
    const uint32_t before = thread.event;
    keep(*into, thread);
    Entry& entry = thread.begun;
    start(entry, Kind::Event, thread);
    entry.cause = cause != 0 ? cause : before;
    appendField(entry, kind);
    appendField(entry, program_invocation_short_name);
    appendMasked(entry, what);
    open(*into, thread);
    return before;
}

void end(uint32_t before) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    Thread& thread = mine();
    Entry entry = entryOf(Kind::End, thread);
    if (thread.event != 0) {
        store(*into, thread.isKept ? Lane::Lasting : Lane::Brief, entry);
    }
    thread.event = before;
    thread.isKept = true;
    thread.isMessage = false;
}

void note(std::string_view kind, std::string_view what) {
    const uint32_t before = begin(kind, 0, what);
    current();
    end(before);
}

uint32_t current() {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return 0;
    }
    keep(*into, mine());
    return mine().event;
}

uint32_t eventHere() {
    return isOn() ? mine().event : 0;
}

void step(Lane lane, std::string_view kind, std::string_view what, int result) {
    File* const into = file.load(std::memory_order_acquire);
    if (into == nullptr) {
        return;
    }
    Thread& thread = mine();
    Entry entry = entryOf(Kind::Step, thread);
    entry.numbers[0] = static_cast<uint32_t>(result);
    appendField(entry, kind);
    appendMasked(entry, what);
    add(*into, thread, lane, entry);
}

void place(const char* sourceFile, int line) {
    if (isOn()) {
        mine().file = sourceFile;
        mine().line = line;
    }
}

Resumed::Resumed(uint32_t event) : before_(eventHere()) {
    if (isOn()) {
        mine().event = event;
        mine().isKept = true;
        mine().changes = 0;
    }
}

Resumed::~Resumed() {
    if (isOn()) {
        mine().event = before_;
    }
}

}  // namespace vcfg::recorder
