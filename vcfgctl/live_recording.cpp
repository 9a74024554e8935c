#include "live_recording.h"

#include <algorithm>

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

// What is told by several connections is put into order: each is held back so long, for what came before it.
constexpr int64_t kHoldUs = 50000;
constexpr int kTurnMs = 20;
constexpr int kIdleMs = 200;
constexpr size_t kMostHeld = 16384;
constexpr int64_t kFollowAgainUs = 1000000;

}  // namespace

LiveRecording::LiveRecording(const Call& call, uint64_t seconds)
    : deadline_(vcfg::Deadline::ofCall(static_cast<uint32_t>(seconds * 1000))) {
    const std::string* const only = call.option("only");
    uint64_t event = 0;
    if (only == nullptr) {
        return;
    }
    const bool isNumber = parseNumber(*only, UINT32_MAX, &event);
    sieve_.emplace(file_, (isNumber ? "event " : "") + *only);
    if (isNumber) {
        sieve_->chain.begin(static_cast<uint32_t>(event));
    } else {
        sieve_->beginWith(*only);
    }
}

int LiveRecording::run(const std::string& name) {
    const int status = begin(name);
    return status == kDone ? go() : status;
}

int LiveRecording::begin(const std::string& name) {
    std::string why;
    if (!onlooker_.open(true, &why)) {
        return refuse(why);
    }
    int status = changes_.open("");
    if (status == kDone) {
        status = file_.open(name);
    }
    if (status == kDone) {
        put(headerLine(beganUs_));
        status = putModel(file_, hidden_);
        file_.put(markLine("begin", vcfg::monotonicUs(), beganUs_));
    }
    return status;
}

int LiveRecording::go() {
    for (;;) {
        const Onlooker::Woken woken = onlooker_.wait(patienceMs(), &copies_);
        takeAll();
        const bool isOver = woken == Onlooker::Woken::BySignal || deadline_.passed();
        if (isOver) {
            onlooker_.wait(0, &copies_);
            takeAll();
        }
        release(isOver ? 0 : kHoldUs);
        if (isOver) {
            file_.put(markLine("end", vcfg::monotonicUs(), beganUs_));
        }
        if (!file_.takes() || woken == Onlooker::Woken::ByClosedOutput) {
            return refuse("the recording cannot be written");
        }
        if (isOver) {
            return kDone;
        }
    }
}

int LiveRecording::patienceMs() const {
    const int patience = held_.empty() ? kIdleMs : kTurnMs;
    return deadline_.isNever() ? patience : std::min(patience, deadline_.remainingMs());
}

void LiveRecording::takeAll() {
    for (Copy& copy : copies_) {
        held_.emplace(copy.timeUs, std::move(copy));
    }
    copies_.clear();
    takeChanges();
    if (onlooker_.takeLost() != 0) {
        file_.put(markLine("lost", vcfg::monotonicUs(), beganUs_));
    }
}

void LiveRecording::takeChanges() {
    Change change;
    int code = VCFG_OK;
    while (isFollowed_ && (code = changes_.next(vcfg::Deadline::in(0), &change)) == VCFG_OK) {
        held_.emplace(change.monotonicUs, std::move(change));
    }
    if (isFollowed_ && code != VCFG_ERR_TIMEOUT) {
        isFollowed_ = false;
        file_.put(markLine("lost", vcfg::monotonicUs(), beganUs_));
    }
    followAgain();
}

// A vcmd that comes back is followed again; what it changed meanwhile is not known.
void LiveRecording::followAgain() {
    const int64_t now = vcfg::monotonicUs();
    if (isFollowed_ || now - triedUs_ < kFollowAgainUs) {
        return;
    }
    triedUs_ = now;
    isFollowed_ = changes_.tryOpen("");
}

void LiveRecording::release(int64_t holdUs) {
    const int64_t ripe = vcfg::monotonicUs() - holdUs;
    while (!held_.empty() && (held_.begin()->first <= ripe || held_.size() > kMostHeld)) {
        auto first = held_.extract(held_.begin());
        write(first.mapped());
    }
}

void LiveRecording::put(json_object* line) {
    if (sieve_) {
        sieve_->take(JsonPtr(line));
    } else {
        file_.put(line);
    }
}

void LiveRecording::write(std::variant<Copy, Change>& one) {
    Change* const change = std::get_if<Change>(&one);
    json_object* const line = change != nullptr ? changeLine(*change, chains_.behind(change->event), beganUs_, hidden_)
                                                : lineOf(std::get<Copy>(one));
    if (line != nullptr) {
        put(line);
    }
}

json_object* LiveRecording::lineOf(Copy& copy) {
    if (copy.passing == bus::Passing::Event || copy.passing == bus::Passing::Step) {
        return notes_.take(copy, beganUs_);
    }
    if (copy.passing == bus::Passing::Taken) {
        const std::optional<Passage> passage = passages_.takeTaken(std::move(copy));
        return passage ? passageLine(*passage, beganUs_, hidden_) : nullptr;
    }
    const Passage passage = passages_.take(std::move(copy));
    json_object* const line = passageLine(passage, beganUs_, hidden_);
    if (passage.kind == Kind::Message || passage.kind == Kind::Call) {
        chains_.sent(passage.copy, line != nullptr);
    }
    return line;
}

}  // namespace vcfgctl
