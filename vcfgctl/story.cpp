#include "story.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
using vcfg::recorder::Kind;

// Anybody on the bus may have written an entry: chains that go in circles end.
constexpr size_t kLongestChain = 64;
// What a client reports later than this came of something else.
constexpr int64_t kObeysWithinUs = 10000000;
// What the result of a report says.
constexpr uint32_t kLeadsOn = 1;
constexpr uint32_t kIsTrouble = 2;

bool isSame(const objIndex& left, const objIndex& right) {
    return left.level == right.level && std::equal(left.idx, left.idx + sizeof left.idx, right.idx);
}

}  // namespace

Story::Story(std::vector<Told> told) : told_(std::move(told)) {
    for (const Told& one : told_) {
        const vcfg::recorder::Entry& entry = one.entry;
        if (one.isBegin()) {
            takeBegin(one);
        } else {
            steps_[entry.event].push_back(&one);
        }
        if (entry.kind == Kind::Step) {
            takeStep(one);
        } else if (entry.kind == Kind::Sent && entry.numbers[2] != 0) {
            sent_[{entry.numbers[2], entry.numbers[3]}] = &one;
        }
    }
}

// A timer runs out some time after a step of the same name has set it. A hook runs because of what its client was told
// or has met just before, if it was.
void Story::takeBegin(const Told& begin) {
    const vcfg::recorder::Entry& entry = begin.entry;
    begins_.try_emplace(entry.event, &begin);
    programs_[entry.process] = begin.field(entry.kind == Kind::Received ? 0 : 1);
    if (entry.kind != Kind::Event) {
        return;
    }
    if (const auto timer = timers_.find(begin.field(2)); begin.field(0) == "timer" && timer != timers_.end()) {
        announced_.try_emplace(entry.event, timer->second);
    }
    if (begin.field(0) == "program") {
        programs_.try_emplace(entry.numbers[0], begin.field(2));
        const auto nudge = nudged_.find(entry.numbers[0]);
        if (entry.cause == 0 && nudge != nudged_.end() && begin.timeUs() - nudge->second->timeUs() < kObeysWithinUs) {
            announced_.try_emplace(entry.event, nudge->second);
            if (nudge->second->field(0) != "start") {  // only the next hook runs because of it
                nudged_.erase(nudge);
            }
        }
    }
}

void Story::takeStep(const Told& step) {
    const std::string_view kind = step.field(0);
    if (kind == "timer") {
        timers_[step.field(1)] = &step;
    } else if (kind == "signal" || kind == "start") {
        nudged_[processIn(step)] = &step;
    } else if (const Told* hook = begin(step.entry.event); kind == "report" && hook != nullptr) {
        programs_[reporterOf(*hook)] = step.field(1).substr(0, step.field(1).find(' '));
        if ((step.entry.numbers[0] & kLeadsOn) != 0) {
            nudged_[reporterOf(*hook)] = &step;
        }
    }
}

bool Story::isTrouble(const Told& begin) const {
    const Told* const report = reportOf(begin);
    if (report != nullptr) {
        return (report->entry.numbers[0] & kIsTrouble) != 0;
    }
    return begin.field(0) == "trouble" ||
           (begin.field(0) == "kernel" && begin.field(2).find(":down") != std::string_view::npos);
}

const Told* Story::reportOf(const Told& one) const {
    for (const Told* step : stepsOf(one.entry.event)) {
        if (step->entry.kind == Kind::Step && step->field(0) == "report") {
            return step;
        }
    }
    return nullptr;
}

const Told* Story::begin(uint32_t event) const {
    const auto found = begins_.find(event);
    return found != begins_.end() ? found->second : nullptr;
}

std::vector<const Told*> Story::stepsOf(uint32_t event) const {
    const auto found = steps_.find(event);
    return found != steps_.end() ? found->second : std::vector<const Told*>();
}

Link Story::causeOf(const Told& one) const {
    if (const auto timer = announced_.find(one.entry.event); timer != announced_.end()) {
        return {begin(timer->second->entry.event), timer->second};
    }
    if (one.entry.kind != Kind::Received) {
        return {begin(one.entry.cause), nullptr};
    }
    const auto found = sent_.find({one.entry.numbers[2], one.entry.numbers[3]});
    if (one.entry.numbers[2] == 0 || found == sent_.end()) {
        return {nullptr, nullptr};
    }
    return {begin(found->second->entry.event), found->second};
}

std::vector<Link> Story::chainTo(uint32_t event) const {
    std::vector<Link> chain;
    const Told* led = nullptr;
    for (const Told* at = begin(event); at != nullptr && chain.size() < kLongestChain;) {
        chain.push_back({at, led});
        const Link cause = causeOf(*at);
        at = cause.begin;
        led = cause.led;
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

const Told* Story::lastChange(const model::Object& object, const objIndex& iid,
                              const model::Parameter& parameter) const {
    for (auto one = told_.rbegin(); one != told_.rend(); ++one) {
        Changed changed{};
        if (one->entry.kind == Kind::Changed && (one->entry.numbers[0] & 0xffff) == object.oid &&
            toChanged(*one, &changed) && changed.parameter == &parameter && isSame(changed.iid, iid)) {
            return &*one;
        }
    }
    return nullptr;
}

std::string Story::programOf(uint32_t process) const {
    const auto found = programs_.find(process);
    return found != programs_.end() ? found->second : "";
}

uint32_t processIn(const Told& step) {
    return static_cast<uint32_t>(strtoul(std::string(step.field(1)).c_str(), nullptr, 10));
}

objIndex instanceOf(const Told& told) {
    objIndex iid{};
    if (told.entry.kind == Kind::Sent && told.entry.length >= sizeof iid) {
        memcpy(&iid, told.entry.text.data(), sizeof iid);
    } else if (told.entry.kind == Kind::Changed || told.entry.kind == Kind::Read) {
        memcpy(&iid, &told.entry.numbers[1], sizeof iid);
    }
    iid.level = std::min<uint8_t>(iid.level, sizeof iid.idx);
    return iid;
}

bool toChanged(const Told& told, Changed* changed) {
    const uint32_t place = told.entry.numbers[0] >> 16;
    changed->object = model::find(told.entry.numbers[0] & 0xffff);
    changed->iid = instanceOf(told);
    if (told.entry.kind != Kind::Changed || changed->object == nullptr ||
        (place != vcfg::recorder::kNoParameter && place >= changed->object->parameters.size())) {
        return false;
    }
    changed->parameter =
        place == vcfg::recorder::kNoParameter ? nullptr : &changed->object->parameters[static_cast<size_t>(place)];
    return true;
}

std::string Changed::path() const {
    return model::path(*object, iid) + (parameter != nullptr ? std::string(".") + parameter->name : "");
}

}  // namespace vcfgctl
