#include "trace.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "client/deadline.h"
#include "narrate.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

constexpr size_t kDeepest = 64;

bool hasPath(const Told& told, const std::string& pattern) {
    Changed changed{};
    if (toChanged(told, &changed)) {
        return model::pathMatches(pattern, changed.path());
    }
    const uint32_t oid = told.entry.kind == Kind::Sent   ? told.entry.cause
                         : told.entry.kind == Kind::Read ? told.entry.numbers[0]
                                                         : 0u;
    const model::Object* object = model::find(oid);
    return object != nullptr && model::pathMatches(pattern, model::path(*object, instanceOf(told)));
}

bool fits(const Story& story, const Told& told, const Wanted& wanted) {
    return told.timeUs() >= wanted.sinceUs && (wanted.event == 0 || told.entry.event == wanted.event) &&
           (wanted.process.empty() || wanted.process == std::to_string(told.entry.process) ||
            wanted.process == story.programOf(told.entry.process)) &&
           (wanted.path.empty() || hasPath(told, wanted.path));
}

using Children = std::map<uint32_t, std::vector<const Told*>>;

Children childrenOf(const Story& story) {
    Children children;
    for (const Told& told : story.all()) {
        if (told.isBegin() && story.begin(told.entry.event) == &told) {
            const Told* cause = story.causeOf(told).begin;
            children[cause != nullptr ? cause->entry.event : 0].push_back(&told);
        }
    }
    return children;
}

void addBelow(const Children& children, uint32_t event, std::set<uint32_t>& events) {
    const auto found = children.find(event);
    for (const Told* child : found != children.end() ? found->second : std::vector<const Told*>()) {
        if (events.insert(child->entry.event).second) {
            addBelow(children, child->entry.event, events);
        }
    }
}

class Tree {
  public:
    Tree(const Story& story, const std::set<uint32_t>& events)
        : story_(story), events_(events), children_(childrenOf(story)), nowUs_(vcfg::monotonicUs()) {}

    void print() { printChildren(0, 0); }

  private:
    void printLine(const Told& told, size_t depth) const {
        printf("%12s %s%s", agoText(told.timeUs(), nowUs_).c_str(), std::string(2 * depth, ' ').c_str(),
               sentenceOf(story_, told).c_str());
        printf(told.isBegin() ? "  #%u\n" : "\n", told.entry.event);
    }

    void printChildren(uint32_t event, size_t depth) {
        const auto found = children_.find(event);
        for (const Told* child : found != children_.end() ? found->second : std::vector<const Told*>()) {
            printEvent(*child, depth);
        }
    }

    // Below an event, in the order of their times, what was done and what came of it.
    void printEvent(const Told& begin, size_t depth) {
        const uint32_t event = begin.entry.event;
        if (!events_.contains(event) || depth > kDeepest || !printed_.insert(event).second) {
            return;
        }
        printLine(begin, depth);
        std::vector<const Told*> lines = story_.stepsOf(event);
        if (const auto found = children_.find(event); found != children_.end()) {
            lines.insert(lines.end(), found->second.begin(), found->second.end());
        }
        std::stable_sort(lines.begin(), lines.end(),
                         [](const Told* left, const Told* right) { return left->timeUs() < right->timeUs(); });
        for (const Told* line : lines) {
            if (line->isBegin()) {
                printEvent(*line, depth + 1);
            } else if (line->entry.kind != Kind::End && line != story_.reportOf(begin)) {
                printLine(*line, depth + 1);
            }
        }
    }

    const Story& story_;
    const std::set<uint32_t>& events_;
    const Children children_;
    const int64_t nowUs_;
    std::set<uint32_t> printed_;
};

}  // namespace

std::set<uint32_t> choose(const Story& story, const Wanted& wanted) {
    std::set<uint32_t> fitting;
    for (const Told& told : story.all()) {
        if (fits(story, told, wanted)) {
            fitting.insert(told.entry.event);
        }
    }
    const Children children = childrenOf(story);
    std::set<uint32_t> events = fitting;
    for (const uint32_t event : fitting) {
        for (const Link& link : story.chainTo(event)) {
            events.insert(link.begin->entry.event);
        }
        addBelow(children, event, events);
    }
    return events;
}

void printTree(const Story& story, const std::set<uint32_t>& events) {
    Tree(story, events).print();
}

}  // namespace vcfgctl
