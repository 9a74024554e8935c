#include "fe_read.h"

#include <vcfg/codes.h>

#include <cstdlib>
#include <cstring>

#include "client_log.h"
#include "fe_client.h"
#include "fe_wire.h"
#include "model_lease.h"
#include "recorder/events.h"

namespace vcfg {
namespace {

store::Found find(const store::View& view, const Wanted& wanted, const objIndex& iid) {
    return wanted.step == Step::Get ? view.get(wanted.oid, iid) : view.next(wanted.oid, wanted.parent, iid);
}

// A vcmd that begins has no model at first, but an endpoint already: it answers when it has one.
int takeModel(ModelLease& lease) {
    const int code = lease.take();
    return code == VCFG_ERR_NO_PEER && request(wire::kPing, RDM_OID_NONE, {}, {}).code == VCFG_OK ? lease.take() : code;
}

// Has the owner put what it knows into the model, which is then looked at anew. What vcmd cannot do while it is away is
// no failure of a read.
int refresh(ModelLease& lease, const Wanted& wanted, const objIndex& iid) {
    const store::Found found = find(lease.view(), wanted, iid);
    if (found.code != VCFG_OK) {
        return found.code;
    }
    const objIndex at = store::iidOf(found.key, found.object->depth);
    lease.giveBack();
    const Answer answer = request(wire::kRefresh, wanted.oid, at, {});
    if (answer.code == VCFG_OK || answer.code == VCFG_ERR_NOT_FOUND || answer.code == VCFG_ERR_NO_PEER) {
        return takeModel(lease);
    }
    CLIENT_LOG(VLOG_WARNING, "refresh of object %u: %s (%d)", wanted.oid, answer.body.c_str(), answer.code);
    return answer.code;
}

// A walk's end is the read of an instance that is not there.
void note(const Wanted& wanted, const objIndex& iid, int code, const store::Found& found) {
    if (recorder::isAtEvent()) {
        const uint64_t change = found.value != nullptr ? store::originOf(found.value).change : 0;
        recorder::wasRead(wanted.oid, iid, code, static_cast<uint32_t>(change));
    }
}

int handOut(const store::Found& found, objIndex* iid, void** record) {
    if (found.code != VCFG_OK) {
        return found.code;
    }
    *record = malloc(found.object->size);
    if (*record == nullptr) {
        CLIENT_LOG(VLOG_ERROR, "memory for %u bytes is short", found.object->size);
        return VCFG_ERR_FAIL;
    }
    memcpy(*record, store::recordOf(found.value), found.object->size);
    *iid = store::iidOf(found.key, found.object->depth);
    return VCFG_OK;
}

}  // namespace

int readModel(const Wanted& wanted, objIndex* iid, void** record) {
    *record = nullptr;
    ModelLease lease;
    int code = takeModel(lease);
    if (code == VCFG_OK && wanted.refreshed && lease.isRefreshed(wanted.oid)) {
        code = refresh(lease, wanted, *iid);
    }
    if (code == VCFG_ERR_NO_PEER) {
        CLIENT_LOG(VLOG_WARNING, "read of object %u: there is no model; vcmd has not made one yet (%d)", wanted.oid,
                   code);
    }
    if (code != VCFG_OK) {
        return code;
    }
    const store::Found found = find(lease.view(), wanted, *iid);
    code = handOut(found, iid, record);
    note(wanted, *iid, code, found);
    return code;
}

}  // namespace vcfg
