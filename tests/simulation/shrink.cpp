// Leaves out of a story what it does not need, in ever smaller pieces, then makes simpler what is left.
#include "story.h"

namespace sim {
namespace {

std::string ruleOf(const std::string& violation) {
    return violation.substr(0, violation.find(':'));
}

bool stillBreaks(const Story& story, const std::string& rule) {
    return ruleOf(tell(story).violation) == rule;
}

bool leaveOut(Story& story, size_t piece, const std::string& rule) {
    bool any = false;
    for (size_t at = 0; at < story.events.size();) {
        Story shorter = story;
        const size_t size = std::min(piece, story.events.size() - at);
        const auto first = shorter.events.begin() + static_cast<std::ptrdiff_t>(at);
        shorter.events.erase(first, first + static_cast<std::ptrdiff_t>(size));
        if (stillBreaks(shorter, rule)) {
            story = shorter;
            any = true;
        } else {
            at += size;
        }
    }
    return any;
}

// Each of them makes an event more ordinary.
constexpr void (*kSimpler[])(Event&) = {
    [](Event& event) { event.doubled = false; }, [](Event& event) { event.delayMs = 0; },
    [](Event& event) { event.turns = 100'000; }, [](Event& event) { event.waitMs = 60'000; },
    [](Event& event) { event.waitMs = 0; },
};

void makeSimpler(Story& story, const std::string& rule) {
    for (size_t at = 0; at < story.events.size(); ++at) {
        for (const auto simpler : kSimpler) {
            Story changed = story;
            simpler(changed.events[at]);
            if (stillBreaks(changed, rule)) {
                story = changed;
            }
        }
    }
}

}  // namespace

Story shrink(const Story& story, const std::string& violation) {
    const std::string rule = ruleOf(violation);
    Story shorter = story;
    for (size_t piece = std::max<size_t>(story.events.size() / 2, 1); piece > 0;) {
        piece = leaveOut(shorter, piece, rule) && piece == 1 ? 1 : piece / 2;
    }
    makeSimpler(shorter, rule);
    return shorter;
}

}  // namespace sim
