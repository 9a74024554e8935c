// The data model as this process reads it: one environment, and a transaction for each read that is under way.
#pragma once

#include <memory>

#include "store/environment.h"
#include "store/snapshot.h"

namespace vcfg {

struct ModelPool;

// The state that was committed last, as long as it lives.
class ModelLease {
  public:
    ModelLease() = default;
    ~ModelLease() { giveBack(); }
    ModelLease(const ModelLease&) = delete;
    ModelLease& operator=(const ModelLease&) = delete;

    // A vcfg_code: VCFG_ERR_NO_PEER when there is no model. Throws store::Failure.
    int take();
    void giveBack();
    store::View view() const { return snapshot_->view(); }
    bool isRefreshed(uint32_t oid) { return snapshot_->isRefreshed(oid); }

  private:
    int tryTaking();

    std::shared_ptr<ModelPool> pool_;
    std::unique_ptr<store::Snapshot> snapshot_;
};

// To be told when vcmd has answered: it may have made another environment.
void lookForModel();

}  // namespace vcfg
