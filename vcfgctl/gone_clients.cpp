#include "gone_clients.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>

#include "hook_runs.h"
#include "narrate_events.h"

namespace vcfgctl {
namespace {

using vcfg::recorder::Kind;

// A client may take one of these as its word to end.
bool isEnding(const Told& told) {
    const auto number = static_cast<int>(told.entry.numbers[0]);
    return told.entry.kind == Kind::Step && told.field(0) == "signal" &&
           (number == SIGTERM || number == SIGKILL || number == SIGALRM);
}

bool isGone(uint32_t process) {
    return kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

// A hook's program goes on for its hook, which names the object.
bool isStartedFor(const Story& story, const Told& start, const Surroundings& surroundings) {
    const std::string client = clientIn(start);
    const std::vector<Link> chain = story.chainTo(start.entry.event);
    return surroundings.isNamed(client.substr(client.rfind(' ') + 1)) ||
           std::any_of(chain.begin(), chain.end(), [&](const Link& link) {
               return link.begin->field(0) == "hook" && surroundings.isNear(pathOfHook(*link.begin));
           });
}

}  // namespace

std::string clientIn(const Told& start) {
    const std::string what = fieldText(start, 1);
    return what.substr(std::min(what.find(' ') + 1, what.size()));
}

std::vector<const Told*> goneClients(const Story& story, const Surroundings& surroundings) {
    std::map<std::string, const Told*> running;
    for (const Told& told : story.all()) {
        if (told.entry.kind == Kind::Step && told.field(0) == "start") {
            running[clientIn(told)] = &told;
        } else if (isEnding(told)) {
            std::erase_if(running, [&](const auto& one) { return processIn(*one.second) == processIn(told); });
        }
    }
    std::vector<const Told*> gone;
    for (const auto& [client, start] : running) {
        if (isGone(processIn(*start)) && isStartedFor(story, *start, surroundings)) {
            gone.push_back(start);
        }
    }
    return gone;
}

}  // namespace vcfgctl
