#include "model_lease.h"

#include <pthread.h>
#include <vcfg/codes.h>

#include <mutex>
#include <utility>
#include <vector>

#include "client_log.h"
#include "run_dir.h"
#include "store/clock.h"

namespace vcfg {

// Ends with the last one who reads in it.
struct ModelPool {
    store::Files files;
    store::EnvironmentPtr environment;
    std::vector<std::unique_ptr<store::Snapshot>> resting;
};

namespace {

constexpr int64_t kLookUs = 100000;

// LMDB's environments must not be used, nor closed, in a process that was forked after they were opened: the child
// begins with another one of these, and keeps the parent's only so that it is not lost.
struct Process {
    std::mutex mutex;
    std::shared_ptr<ModelPool> pool;
    store::Files refused;  // that one is not worth another line
    int64_t nextLook = 0;
    Process* ofParent = nullptr;
};

Process* current = nullptr;

bool begin() {
    current = std::make_unique<Process>().release();
    pthread_atfork(nullptr, nullptr, [] {
        auto fresh = std::make_unique<Process>();
        fresh->ofParent = current;
        current = fresh.release();
    });
    return true;
}

Process& process() {
    [[maybe_unused]] static const bool begun = begin();
    return *current;
}

// While one environment gives way to another there may be none for a moment: the old one serves until then.
int open(Process& own) {
    const std::string directory = bus::runDirectory();
    if (own.pool != nullptr && store::filesOf(directory) == own.pool->files) {
        return VCFG_OK;
    }
    auto pool = std::make_shared<ModelPool>();
    std::string why;
    const int code = store::openForReading(directory, &pool->environment, &pool->files, &why);
    if (code == VCFG_OK) {
        own.pool = std::move(pool);
        return code;
    }
    if (code == VCFG_ERR_NO_PEER) {
        return own.pool != nullptr ? VCFG_OK : code;
    }
    own.pool.reset();
    if (own.refused != pool->files) {
        own.refused = pool->files;
        CLIENT_LOG(VLOG_ERROR, "the model %s %s", store::dataFile(directory).c_str(), why.c_str());
    }
    return code;
}

std::unique_ptr<store::Snapshot> newSnapshot(MDB_env* environment) {
    try {
        return std::make_unique<store::Snapshot>(environment);
    } catch (const store::Failure&) {
        int dead = 0;  // they may have left no place for another reader
        store::check(mdb_reader_check(environment, &dead));
        return std::make_unique<store::Snapshot>(environment);
    }
}

}  // namespace

int ModelLease::take() {
    try {
        return tryTaking();
    } catch (const store::Failure&) {  // a writer has made it larger than it is here
        const std::lock_guard lock(process().mutex);
        process().pool.reset();
    }
    pool_.reset();
    return tryTaking();
}

int ModelLease::tryTaking() {
    Process& own = process();
    {
        const std::lock_guard lock(own.mutex);
        const int64_t now = coarseUs();
        if (own.pool == nullptr || now >= own.nextLook) {
            const int code = open(own);
            if (code != VCFG_OK) {
                return code;
            }
            own.nextLook = now + kLookUs;
        }
        pool_ = own.pool;
        if (!pool_->resting.empty()) {
            snapshot_ = std::move(pool_->resting.back());
            pool_->resting.pop_back();
        }
    }
    if (snapshot_ == nullptr) {
        snapshot_ = newSnapshot(pool_->environment.get());
        return VCFG_OK;
    }
    auto rested = std::move(snapshot_);
    rested->renew();
    snapshot_ = std::move(rested);
    return VCFG_OK;
}

// Without memory to keep it for the next read it ends here.
void ModelLease::giveBack() {
    auto rested = std::exchange(snapshot_, nullptr);
    if (rested == nullptr) {
        return;
    }
    rested->rest();
    const std::lock_guard lock(process().mutex);
    try {
        pool_->resting.push_back(std::move(rested));
    } catch (const std::bad_alloc&) {
    }
}

void lookForModel() {
    const std::lock_guard lock(process().mutex);
    process().nextLook = 0;
}

}  // namespace vcfg
