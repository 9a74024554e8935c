// How the store makes a change: in one transaction, that ends before anybody is told.
#include <unistd.h>

#include <utility>

#include "clock.h"
#include "refusal.h"
#include "store.h"

namespace vcfg::store {
namespace {

constexpr size_t kGrowth = 16;
constexpr int64_t kTidyUs = 1000000;
constexpr int kTriesWhenFull = 100;
constexpr useconds_t kPauseUs = 1000;

// Readers that died hold the pages of the state that they saw.
void forgetDeadReaders(MDB_env* environment) {
    int dead = 0;
    static_cast<void>(mdb_reader_check(environment, &dead));
}

int refuseFailure(const Failure& failure, std::string* why) {
    return failure.isFull() ? refuse(VCFG_ERR_FULL, why, std::string("the model's memory is full: ") + failure.what())
                            : refuse(VCFG_ERR_FAIL, why, failure.what());
}

}  // namespace

int Store::run(std::string* why, const std::function<int()>& operation) {
    if (held_->changing) {
        return operation();
    }
    return guarded([&] {
        for (Tries left{full_ ? 1 : kTriesWhenFull};;) {
            try {
                const int code = attempt(operation);
                full_ = false;
                return code;
            } catch (const Failure& failure) {
                full_ = failure.isFull();
                if (!mayGoBetter(left)) {
                    return refuseFailure(failure, why);
                }
            }
        }
    });
}

// Pages that somebody still reads are not used again. A full environment may be one that dead readers keep full, or
// one that lost its processor within a read: who is alive gets a moment to go on, but not for each change anew.
bool Store::mayGoBetter(Tries& left) {
    if (isPanicked(held_->environment.get())) {
        openAnew();
        return std::exchange(left.anew, 0) > 0;
    }
    if (!full_ || left.full == 0) {
        return false;
    }
    forgetDeadReaders(held_->environment.get());
    usleep(left.full-- < kTriesWhenFull ? kPauseUs : 0);
    return true;
}

// The change that could not be ended may be in there all the same.
void Store::openAnew() {
    try {
        held_->committed.reset();
        held_->environment = store::openAnew(std::move(held_->environment), file_);
        held_->committed = std::make_unique<Snapshot>(held_->environment.get());
    } catch (const std::exception& failure) {
        throw Lost(failure.what());
    }
    ++revision_;
    ++configurationRevision_;
}

int Store::attempt(const std::function<int()>& operation) {
    struct Ends {
        std::unique_ptr<Transaction>& changing;
        ~Ends() { changing.reset(); }
    };
    changes_.clear();
    touchesConfiguration_ = false;
    held_->changing = std::make_unique<Transaction>(held_->environment.get(), writer_, event_);
    const Ends ends{held_->changing};
    const int code = operation();
    if (code != VCFG_OK || !held_->changing->hasChanged()) {
        return code;
    }
    held_->changing->commit();
    held_->changing.reset();
    concluded();
    return code;
}

// The change is made: nothing that fails in here may say otherwise.
void Store::concluded() {
    held_->committed->rest();
    try {
        held_->committed->renew();
    } catch (const Failure&) {  // its place among the readers is another's: they all can write there
        openAnew();
    }
    ++revision_;
    configurationRevision_ += touchesConfiguration_ ? 1 : 0;
    tidyReaders();
    for (const Change& change : changes_) {
        watcher_(change);
    }
}

// Before the environment grows, and once a second.
void Store::tidyReaders() {
    MDB_envinfo info{};
    static_cast<void>(mdb_env_info(held_->environment.get(), &info));
    const int64_t now = coarseUs();
    if (info.me_last_pgno >= tidiedAt_ + kGrowth || now - tidiedUs_ >= kTidyUs) {
        forgetDeadReaders(held_->environment.get());
        tidiedAt_ = info.me_last_pgno;
        tidiedUs_ = now;
    }
}

}  // namespace vcfg::store
