#include <algorithm>
#include <csignal>
#include <map>
#include <variant>

#include "ask.h"
#include "client/deadline.h"
#include "cut.h"
#include "notes.h"
#include "recording.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

// What is told by several connections is put into order: each is held back so long, for what came before it.
constexpr int64_t kHoldUs = 50000;
constexpr int kTurnMs = 20;
constexpr int kIdleMs = 200;
constexpr size_t kMostHeld = 16384;
constexpr uint64_t kLongestSeconds = 365 * 24 * 3600;
constexpr int64_t kFollowAgainUs = 1000000;

class Recording {
  public:
    Recording(const Call& call, uint64_t seconds)
        : runDir_(call.runDir), deadline_(vcfg::Deadline::ofCall(static_cast<uint32_t>(seconds * 1000))) {}

    int run(const std::string& name) {
        const int status = begin(name);
        return status == kDone ? go() : status;
    }

  private:
    int begin(const std::string& name) {
        std::string why;
        if (!onlooker_.open(true, &why)) {
            return refuse(why);
        }
        int status = changes_.open("");
        if (status == kDone) {
            status = file_.open(name);
        }
        if (status == kDone) {
            file_.put(headerLine(beganUs_));
            status = putModel(file_, hidden_);
            file_.put(markLine("begin", vcfg::monotonicUs(), beganUs_));
        }
        return status;
    }

    int go() {
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

    int patienceMs() const {
        const int patience = held_.empty() ? kIdleMs : kTurnMs;
        return deadline_.isNever() ? patience : std::min(patience, deadline_.remainingMs());
    }

    void takeAll() {
        for (Copy& copy : copies_) {
            held_.emplace(copy.timeUs, std::move(copy));
        }
        copies_.clear();
        takeChanges();
        if (onlooker_.takeLost() != 0) {
            file_.put(markLine("lost", vcfg::monotonicUs(), beganUs_));
        }
    }

    void takeChanges() {
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
    void followAgain() {
        const int64_t now = vcfg::monotonicUs();
        if (isFollowed_ || now - triedUs_ < kFollowAgainUs) {
            return;
        }
        triedUs_ = now;
        isFollowed_ = changes_.tryOpen("");
    }

    void release(int64_t holdUs) {
        const int64_t ripe = vcfg::monotonicUs() - holdUs;
        while (!held_.empty() && (held_.begin()->first <= ripe || held_.size() > kMostHeld)) {
            auto first = held_.extract(held_.begin());
            write(first.mapped());
        }
    }

    void write(std::variant<Copy, Change>& one) {
        Change* const change = std::get_if<Change>(&one);
        json_object* const line = change != nullptr
                                      ? changeLine(*change, chains_.behind(change->event), beganUs_, hidden_)
                                      : lineOf(std::get<Copy>(one));
        if (line != nullptr) {
            file_.put(line);
        }
    }

    json_object* lineOf(Copy& copy) {
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

    const std::string runDir_;
    const vcfg::Deadline deadline_;
    const int64_t beganUs_ = vcfg::monotonicUs();
    Onlooker onlooker_;
    Changes changes_;
    bool isFollowed_ = true;
    int64_t triedUs_ = 0;
    Passages passages_;
    Hidden hidden_;
    Chains chains_;
    Notes notes_{chains_, hidden_};
    RecordingFile file_;
    std::vector<Copy> copies_;
    std::multimap<int64_t, std::variant<Copy, Change>> held_;
};

}  // namespace

int runRecord(const Call& call) {
    uint64_t event = 0;
    if (call.option("cut") != nullptr) {
        if (!numberOption(call, "cut", UINT32_MAX, &event)) {
            return kWrongUsage;
        }
        return call.operands.size() == 2
                   ? cutRecording(static_cast<uint32_t>(event), call.operands[0], call.operands[1])
                   : wrongUsage(call, "--cut takes the recording and the file for what is left of it");
    }
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one file, or - for standard output");
    }
    uint64_t seconds = 0;
    if (!numberOption(call, "for", kLongestSeconds / 1000, &seconds)) {
        return kWrongUsage;
    }
    const int status = joinBus(call.runDir);
    std::signal(SIGPIPE, SIG_IGN);
    return status == kDone ? Recording(call, seconds).run(call.operands.front()) : status;
}

}  // namespace vcfgctl
