// What the recorder holds, put together again: events with what was done under them, and what led to each.
#pragma once

#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/describe.h"
#include "recorder/reader.h"

namespace vcfgctl {

using vcfg::recorder::Told;

// A step on the way from a first cause: an event, and what was done under it that led to the next one.
struct Link {
    const Told* begin;
    const Told* led;  // null when only the event's number was handed on
};

class Story {
  public:
    explicit Story(std::vector<Told> told);

    std::span<const Told> all() const { return told_; }
    // Null when the recorder has lost it.
    const Told* begin(uint32_t event) const;
    // What was done under an event, in order.
    std::vector<const Told*> stepsOf(uint32_t event) const;
    // The event that led to it, 0 when that is not known; and the message that did, if it was one.
    Link causeOf(const Told& begin) const;
    // From the first cause that is known to the event itself.
    std::vector<Link> chainTo(uint32_t event) const;

    // The last change of that parameter; null when it is not in the recorder.
    const Told* lastChange(const vcfg::model::Object& object, const objIndex& iid,
                           const vcfg::model::Parameter& parameter) const;

    // "tarn"; empty when nothing says so.
    std::string programOf(uint32_t process) const;

    // What the program told that a begin is of: a client's hook says what the client has met. Null for none.
    const Told* reportOf(const Told& begin) const;
    // A begin of which nothing good can come: a link went down, a client got nothing, somebody noticed a loss.
    bool isTrouble(const Told& begin) const;
    // Which process has such an event: of a report the one that the hook runs for.
    static uint32_t reporterOf(const Told& begin) { return begin.entry.numbers[0]; }

  private:
    void takeStep(const Told& step);
    void takeBegin(const Told& begin);

    std::vector<Told> told_;
    std::unordered_map<uint32_t, const Told*> begins_;
    std::unordered_map<uint32_t, std::vector<const Told*>> steps_;
    std::map<std::pair<uint32_t, uint32_t>, const Told*> sent_;  // by connection and order
    std::unordered_map<uint32_t, const Told*> announced_;        // by event, the step that announced it
    std::map<std::string_view, const Told*> timers_;             // that were set
    std::unordered_map<uint32_t, const Told*> nudged_;           // by process, who has last told it to do something
    std::unordered_map<uint32_t, std::string> programs_;
};

// Of a change: which parameter, or null for the instance itself.
struct Changed {
    const vcfg::model::Object* object;
    const vcfg::model::Parameter* parameter;
    objIndex iid;

    std::string path() const;
};
// False when the entry is none, or of another data model.
bool toChanged(const Told& told, Changed* changed);
objIndex instanceOf(const Told& told);
// Of a step that has started or signalled one.
uint32_t processIn(const Told& step);

}  // namespace vcfgctl
