#include "diag/name_lookup_result.h"

#include "diag/report.h"

namespace {

constexpr const char* kName = "tarnProcessNslookupMsg";

constexpr ShownKey<NsLookupResult> kResultTexts[] = {DIAG_SHOWN_KEY(NsLookupResult, Status, "Status"),
                                                     DIAG_SHOWN_KEY(NsLookupResult, HostNameReturned, "HostNameRtned"),
                                                     DIAG_SHOWN_KEY(NsLookupResult, IPAddresses, "IPAddresses"),
                                                     DIAG_SHOWN_KEY(NsLookupResult, DNSServerIP, "DNSServerIP")};

// Results lie without gaps from 1.
void removeResults(uint32_t count) {
    for (uint32_t i = 1; i <= count; ++i) {
        const objIndex result = instanceId({static_cast<uint8_t>(i)});
        vcfgFeObjStructDel(RDM_OID_DNS_DIAG_NSLOOKUP_RESULT, &result, nullptr);
    }
}

// False when there is no place for this result, nor then for those behind it.
bool addResult(const Json& reported) {
    objIndex added = noInstance();
    if (add<NsLookupResult>(added) != VCFG_OK) {
        logs::print("Add NSLookupDiagnostics.Result fail\n");
        return false;
    }
    auto result = get<NsLookupResult>(added);
    if (!result) {
        logs::print("Get NSLookupDiagnostics.Result fail\n");
        return false;
    }
    copyShown<NsLookupResult>(reported, kResultTexts, *result, [](const char* label, const char*, const char* stored) {
        logs::print("%s: %s %s\n", kName, label, stored);
    });
    result->ResponseTime = reported.unsigned32("ResponseTime");
    if (result.apply() != VCFG_OK) {
        logs::print("Set NSLookupDiagnostics.Result fail\n");
    }
    return true;
}

void addResults(const Json& report) {
    for (unsigned n = 0;; ++n) {
        const auto reported = report.child(std::to_string(n).c_str());
        if (!reported || !addResult(*reported)) {
            return;
        }
    }
}

}  // namespace

void tarnProcessNslookupMsg(const char* payload) {
    if (payload == nullptr || *payload == '\0') {
        return;
    }
    logs::print("%s: %s\n", kName, payload);
    const Json report = Json::parse(payload);
    const bool found = updateObject<NsLookupDiagnostics>("NSLookupDiagnostics", [&](NsLookupDiagnostics& lookup) {
        removeResults(lookup.ResultNumberOfEntries);
        lookup.DiagnosticsState = report.textOr("DiagnosticsState", report.valid() ? "" : "None");
        lookup.SuccessCount = report.unsigned32("SuccessCount");
    });
    if (found) {
        addResults(report);
    }
}
