#include <unistd.h>

#include <memory>

#include "ask.h"
#include "client/free.h"
#include "describe.h"
#include "print.h"
#include "select.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {
namespace {

using ServicePtr = std::unique_ptr<vcfg_schema_service_t, vcfg::Free>;

bool isOpen(const std::string& directory) {
    return access(directory.c_str(), X_OK) == 0;
}

// An exit status, reported when not kDone. Nobody to ask is an answer too: the service stays null.
int askWhoServes(const Call& call, uint32_t oid, ServicePtr& service) {
    if (!isOpen(call.runDir)) {
        return kDone;
    }
    const int status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    vcfg_schema_service_t* found = nullptr;
    const int code = vcfgSchemaServiceGet(oid, &found);
    service.reset(found);
    return code == VCFG_OK || code == VCFG_ERR_NO_PEER ? kDone : reportBusFailure(code, VCFG_EID_VCMD);
}

}  // namespace

int runDescribe(const Call& call) {
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one path");
    }
    const std::string path = withoutFilters(call.operands.front());
    Description description{};
    if (vcfgSchemaFind(path.c_str(), &description.object, nullptr, &description.parameter) != VCFG_OK) {
        std::string why;
        const bool isGroup = !select(path + (path.ends_with('.') ? "" : "."), &why).empty();
        return refuse(
            path + ": " +
            (isGroup ? "only objects lie below; 'vcfgctl list --next " + path + "' shows them" : suggestion(path)));
    }
    ServicePtr service;
    const int status = askWhoServes(call, description.object.oid, service);
    if (status != kDone) {
        return status;
    }
    description.service = service.get();
    if (call.json) {
        printJsonLine(descriptionJson(description));
    } else {
        printDescription(description);
    }
    return kDone;
}

}  // namespace vcfgctl
