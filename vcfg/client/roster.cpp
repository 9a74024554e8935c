#include "roster.h"

#include <unistd.h>

#include <cerrno>

#include "deadline.h"
#include "recorder/ring.h"
#include "shared_file.h"

namespace vcfg::bus {
namespace {

Roster nobody;

}  // namespace

constinit std::atomic<Roster*> roster{&nobody};

void attachRoster() {
    static SharedFile& shared = *new SharedFile("roster", sizeof(Roster), Roster::kLayout, SharedFile::Bad::Ignored);
    if (void* mapped = shared.attach(); mapped != nullptr) {
        roster.store(static_cast<Roster*>(mapped), std::memory_order_relaxed);
    }
    recorder::attachRecorder();
}

bool isRosterThere() {
    return roster.load(std::memory_order_relaxed) != &nobody;
}

void signRoster(uint8_t eid, ino_t socket) {
    Roster& all = *roster.load(std::memory_order_relaxed);
    Roster::Entry& entry = all.entries[eid];
    const int64_t now = monotonicUs();
    const std::string program = ownProgram();
    if (!isRosterThere()) {
        return;
    }
    entry.socket.store(0);
    entry.process.store(static_cast<uint32_t>(getpid()));
    entry.sinceS.store(static_cast<uint32_t>(now / 1000000));
    entry.sinceUs.store(static_cast<uint32_t>(now % 1000000));
    for (size_t each = 0; each < entry.program.size(); ++each) {
        entry.program[each].store(each < program.size() ? program[each] : '\0');
    }
    entry.socket.store(static_cast<uint32_t>(socket));
}

// Anybody on the bus may have written it, and may be writing.
Signature signatureOf(uint8_t eid, ino_t socket) {
    Roster::Entry& entry = roster.load(std::memory_order_relaxed)->entries[eid];
    const auto wanted = static_cast<uint32_t>(socket);
    if (wanted == 0 || entry.socket.load() != wanted) {
        return {};
    }
    Signature found{true, static_cast<pid_t>(entry.process.load()),
                    int64_t{entry.sinceS.load()} * 1000000 + entry.sinceUs.load(), ""};
    for (const std::atomic<char>& each : entry.program) {
        const char c = each.load();
        if (c == '\0' || found.program.size() == Roster::kLongestProgram) {
            break;
        }
        found.program.push_back(c > ' ' && c < 0x7f ? c : '?');
    }
    return entry.socket.load() == wanted ? found : Signature{};
}

std::string ownProgram() {
    return std::string(program_invocation_short_name).substr(0, Roster::kLongestProgram);
}

}  // namespace vcfg::bus
