#include "dhcpv4.h"

#include <vcfg/vcfg.h>

#include <vector>

#include "environment.h"
#include "lease_end.h"
#include "stored.h"

namespace {

// The client instance that this process serves, by its pid file; level 0 when there is none.
objIndex clientOf(const std::string& pidFile) {
    objIndex iid{};
    while (const auto client = next<Dhcpv4Client>(iid)) {
        if (client->X_VORAN_PidFile == pidFile) {
            return iid;
        }
    }
    return {};
}

// The options whose values the client instance keeps, by the names that it gives them.
std::vector<WantedOption> wantedOptions(const objIndex& client) {
    if (client.level == 0) {
        return {{121, "opt121"}};
    }
    std::vector<WantedOption> wanted;
    objIndex iid{};
    while (true) {
        void* found = nullptr;
        const int result = vcfgFeSubInStructGetNext(RDM_OID_DHCPV4_CLIENT_REQ_OPT, &client, &iid, &found);
        const Stored<Dhcpv4ClientReqOption> option(result == VCFG_OK ? static_cast<Dhcpv4ClientReqOption*>(found)
                                                                     : nullptr);
        if (option == nullptr) {
            return wanted;
        }
        if (option->Enable != 0 && !option->Alias.empty()) {
            wanted.push_back({option->Tag, option->Alias.c_str()});
        }
    }
}

bool holdsLease(const objIndex& client) {
    const auto record = stored<Dhcpv4Client>(client);
    return record != nullptr && (record->DHCPStatus == "Bound" || record->DHCPStatus == "Renewing");
}

// The daemon takes no lease for an interface that is not up yet: when the client keeps that one, it is new to the
// daemon.
LeaseEvent newToDaemon(LeaseEvent event, const objIndex& client) {
    const bool isNew = event == LeaseEvent::Renewed && client.level != 0 && !holdsLease(client);
    return isNew ? LeaseEvent::Bound : event;
}

}  // namespace

std::optional<LeaseReport> leaseReport(std::string_view word) {
    const auto said = leaseEvent(word);
    if (!said) {
        return std::nullopt;
    }
    const objIndex client = clientOf(pidFileOf(variable("interface")));
    const LeaseEvent event = newToDaemon(*said, client);
    return LeaseReport{event, leasePayload(event, wantedOptions(client))};
}

void noteLease(std::string_view word) {
    const auto event = leaseEvent(word);
    const std::string pidFile = pidFileOf(variable("interface"));
    if (event == LeaseEvent::Lost) {
        forgetLeaseEnd(pidFile);
    } else if (event) {
        noteLeaseEnd(pidFile, variable("lease"));
    }
}
