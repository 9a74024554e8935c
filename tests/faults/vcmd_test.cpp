// The configuration daemon on a thread of this process, and its clients' library: one call after the other fails, of
// the one or of the other. What is asked for is done whole or not at all, and the next request is served.
#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>

#include "client/fe_wire.h"
#include "injector.h"
#include "last_words.h"
#include "served_vcmd.h"

namespace fs = std::filesystem;
namespace wire = vcfg::wire;

namespace {

using faults::Kind;
using faults::now;

// Calls that fail of a request in a test run; TARN_FAULTS=all fails each.
constexpr uint32_t kShare = 40;
// Descriptors that a first failure opens and that stay; each fault leaving one would be more.
constexpr int64_t kOnce = 2;
const objIndex kFirst = {1, {1, 0, 0, 0, 0, 0}};

std::string bytesOf(const wire::WriteHeader& header) {
    return {reinterpret_cast<const char*>(&header), sizeof header};
}

std::string writeOf(const std::string& json) {
    return bytesOf({VCFG_FE_WRITE_AND_WAIT}) + json + '\0';
}

// What is open, a line each.
std::string descriptors() {
    std::string all;
    std::error_code gone;
    for (const auto& file : fs::directory_iterator("/proc/self/fd")) {
        all += file.path().filename().string() + " " + fs::read_symlink(file.path(), gone).string() + "\n";
    }
    return all;
}

int64_t countOf(const std::string& lines) {
    return std::count(lines.begin(), lines.end(), '\n');
}

struct Request {
    const char* name;
    std::function<int()> make;
};

int addOne() {
    const vcfg::Answer added = ask(wire::kAdd, RDM_OID_PPP_IFACE);
    return added.code == VCFG_OK ? ask(wire::kDelete, RDM_OID_PPP_IFACE, added.iid).code : added.code;
}

int changeSeveral() {
    vcfg_step_t steps[] = {{VCFG_STEP_ADD, RDM_OID_IP_IFACE, {}, R"({"Alias":"two"})"},
                           {VCFG_STEP_DELETE, RDM_OID_IP_IFACE, {1, {0, 0, 0, 0, 0, 0}}, nullptr}};
    return vcfgFeObjChange(steps, 2, VCFG_FE_WRITE_AND_WAIT, nullptr);
}

int loadModel() {
    const std::string model =
        R"({"version":1,"objects":{"PPP.Interface.1":{"Alias":"one"},"IP.Interface.1":{"Alias":"one"}}})";
    const int code = ask(wire::kLoadPart, 0, {}, model).code;
    return code == VCFG_OK ? ask(wire::kLoad, 0, {}, bytesOf({VCFG_FE_WRITE_AND_WAIT})).code : code;
}

int readAll() {
    objIndex at{};
    void* record = nullptr;
    while (vcfgFeObjStructGetNextWithoutUpdate(RDM_OID_IP_IFACE, &at, &record) == VCFG_OK) {
        free(record);
    }
    return VCFG_OK;
}

int readRefreshed() {
    objIndex at = kFirst;
    void* record = nullptr;
    const int code = vcfgFeObjStructGet(RDM_OID_PPP_IFACE, &at, &record);
    free(record);
    return code;
}

int save() {
    const int code = vcfgFeObjWrite(RDM_OID_IP_IFACE, &kFirst, R"({"Enable":true})", VCFG_FE_WRITE_APPLY, nullptr);
    return code == VCFG_OK ? ask(wire::kSave).code : code;
}

const Request kRequests[] = {
    {"write",
     [] { return ask(wire::kWrite, RDM_OID_IP_IFACE, kFirst, writeOf(R"({"Alias":"x","Enable":true})")).code; }},
    {"write_with_hook", [] { return ask(wire::kWrite, RDM_OID_PPP_IFACE, kFirst, writeOf(R"({"Alias":"x"})")).code; }},
    {"add_and_delete", addOne},
    {"change_several", changeSeveral},
    {"load", loadModel},
    {"save", save},
    {"read", readAll},
    {"read_refreshed", readRefreshed},
    {"watch", [] { return ask(wire::kWatch, 0, {}, std::string("IP.\0", 4)).code; }},
    {"service", [] { return ask(wire::kService, RDM_OID_PPP_IFACE).code; }},
    {"ping", [] { return ask(wire::kPing).code; }},
};

// Two objects, and nothing else.
void bringTheModelBack() {
    ASSERT_EQ(loadModel(), VCFG_OK) << now;
}

bool modelIsWhole() {
    const auto reads = [](uint32_t oid) {
        objIndex at{};
        void* record = nullptr;
        const int code = vcfgFeObjStructGetNextWithoutUpdate(oid, &at, &record);
        free(record);
        return code == VCFG_OK;
    };
    return reads(RDM_OID_PPP_IFACE) && reads(RDM_OID_IP_IFACE) && reads(RDM_OID_PPP_IFACE_IPCP);
}

class Serving : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        blockSignals();
        faults::dieWithLastWords();
    }

    Served served;
};

class VcmdFaults : public Serving, public testing::WithParamInterface<size_t> {
  protected:
    // In the library that asks, or in vcmd.
    static uint32_t makeRequest(Kind kind, uint32_t number, bool inClient) {
        faults::arm(kind, number);
        try {
            const auto calling = inClient ? std::make_unique<faults::Exposed>() : nullptr;
            request().make();
        } catch (const std::bad_alloc&) {  // out of the library's inside; the API makes a code of it
        }
        return faults::disarm();
    }

    static void failOnce(Kind kind, uint32_t number, bool inClient) {
        snprintf(now, sizeof now, "%s with %s fault %u in %s\n", request().name, faults::nameOf(kind), number,
                 inClient ? "the client" : "vcmd");
        makeRequest(kind, number, inClient);
        EXPECT_TRUE(eventually([] { return ask(wire::kPing).code == VCFG_OK; })) << now;
        EXPECT_TRUE(modelIsWhole()) << now;
        EXPECT_EQ(request().make(), VCFG_OK) << now;
    }

    void failEach(Kind kind, bool inClient) {
        makeRequest(kind, 0, inClient);
        bringTheModelBack();
        const uint32_t calls = makeRequest(kind, 0, inClient);
        bringTheModelBack();
        const uint32_t every = getenv("TARN_FAULTS") != nullptr ? 1 : 1 + calls / kShare;
        for (uint32_t number = 1; number <= calls && !HasFailure(); number += every) {
            failOnce(kind, number, inClient);
            bringTheModelBack();
        }
        if (HasFailure()) {
            faults::tellWhere(STDERR_FILENO);
        }
        printf("%s: %u of %u %s calls of %s have failed\n", request().name, (calls + every - 1) / every, calls,
               faults::nameOf(kind), inClient ? "the client" : "vcmd");
    }

    static const Request& request() { return kRequests[GetParam()]; }
};

TEST_P(VcmdFaults, ServesOnAndLeavesNothingBehind) {
    bringTheModelBack();
    request().make();
    bringTheModelBack();
    EXPECT_TRUE(modelIsWhole());
    const std::string open = descriptors();
    for (const bool inClient : {false, true}) {
        failEach(Kind::Memory, inClient);
        failEach(Kind::System, inClient);
    }
    EXPECT_TRUE(eventually([&] { return countOf(descriptors()) <= countOf(open) + kOnce; })) << open << "\n"
                                                                                             << descriptors();
}

// Its supervisor starts it anew.
TEST_F(Serving, EndsWhenItsModelCannotBeOpenedAnew) {
    bringTheModelBack();
    fs::rename(served.modelFile(), served.modelFile() + ".elsewhere");
    EXPECT_TRUE(eventually([this, number = 0u]() mutable {
        faults::arm(Kind::System, 1 + ++number % kShare);
        ask(wire::kWrite, RDM_OID_IP_IFACE, kFirst, writeOf(R"({"Alias":")" + std::to_string(number) + R"("})"));
        faults::disarm();
        return served.isLost();
    }));
}

INSTANTIATE_TEST_SUITE_P(Each, VcmdFaults, testing::Range(size_t{0}, std::size(kRequests)),
                         [](const auto& parameter) { return kRequests[parameter.param].name; });

}  // namespace
