// Several changes in one request, as vcmd makes them.
#include <signal.h>
#include <vcfg/loop.h>

#include <atomic>
#include <thread>

#include "vcmd_kit.h"

namespace wire = vcfg::wire;

namespace {

#ifdef __SANITIZE_THREAD__
constexpr int kKills = 15;
#else
constexpr int kKills = 60;
#endif

const char* const kInterface = "IP.Interface.{i}";

template <class Header>
std::string bytesOf(const Header& header) {
    return {reinterpret_cast<const char*>(&header), sizeof header};
}

std::string stepBytes(uint8_t kind, uint32_t oid, const objIndex& at, const std::string& text) {
    return bytesOf(wire::StepHeader{oid, static_cast<uint32_t>(text.size()), kind, at}) + text;
}

std::string changeOf(const std::string& steps, uint32_t requestType = VCFG_FE_WRITE_APPLY) {
    return bytesOf(wire::WriteHeader{requestType}) + steps;
}

class VcmdChange : public ::testing::Test {
  protected:
    void SetUp() override {
        vcmd.start();
        for (objIndex& one : interfaces) {
            one = addInstance(RDM_OID_IP_IFACE);
        }
    }
    // The same number into both interfaces.
    int number(uint32_t number) const {
        const std::string json = R"({"LastChange":)" + std::to_string(number) + "}";
        vcfg_step_t steps[] = {{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], json.c_str()},
                               {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], json.c_str()}};
        return vcfgFeObjChange(steps, std::size(steps), VCFG_FE_WRITE_NO_APPLY, nullptr);
    }
    int change(std::vector<vcfg_step_t> steps, uint32_t requestType = VCFG_FE_WRITE_APPLY) const {
        return vcfgFeObjChange(steps.data(), steps.size(), requestType, nullptr);
    }

    Vcmd vcmd;
    objIndex interfaces[2] = {};
};

}  // namespace

// In this order of reading, the second one may be newer, but never older.
TEST_F(VcmdChange, ReadersSeeAllOfItOrNothing) {
    std::atomic<bool> written{false};
    std::thread writer([&] {
        for (uint32_t next = 1; next <= 2000; ++next) {
            EXPECT_EQ(number(next), VCFG_OK);
        }
        written = true;
    });
    uint32_t before = 0;
    unsigned seen = 0;
    for (bool last = false; !last;) {
        last = written;
        const uint32_t first = record<IpInterface>(interfaces[0]).LastChange;
        const uint32_t second = record<IpInterface>(interfaces[1]).LastChange;
        EXPECT_LE(before, first);
        EXPECT_LE(first, second);
        seen += first != before ? 1 : 0;
        before = first;
    }
    writer.join();
    EXPECT_EQ(before, 2000u);
    EXPECT_GT(seen, 1u) << "the reader has seen no change happen";
}

TEST_F(VcmdChange, KilledAtAnyMomentItIsThereWholeOrNotAtAll) {
    killWhileWriting(
        vcmd, kKills, 20261122, [this](uint32_t next) { return number(next); },
        [this] {
            const uint32_t first = record<IpInterface>(interfaces[0]).LastChange;
            EXPECT_EQ(first, record<IpInterface>(interfaces[1]).LastChange);
            return first;
        });
}

TEST_F(VcmdChange, TheRefusalNamesThePath) {
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"Alias":"one"})"},
                      {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], R"({"Status":"Sideways"})"}}),
              VCFG_ERR_INVALID);
    EXPECT_EQ(std::string(vcfg_refusalText()).find("IP.Interface.2: Status takes one of"), 0u) << vcfg_refusalText();
    EXPECT_EQ(change({{VCFG_STEP_DELETE, RDM_OID_IP_IFACE, iid({9}), nullptr}}), VCFG_ERR_NOT_FOUND);
    EXPECT_STREQ(vcfg_refusalText(), "IP.Interface.9: no such instance");
    EXPECT_EQ(record<IpInterface>(interfaces[0]).Alias, "");
}

TEST_F(VcmdChange, ARefusedOneLeavesItsStepsAsTheyWere) {
    vcfg_step_t steps[] = {{VCFG_STEP_ADD, RDM_OID_IP_IFACE, {}, nullptr},
                           {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"Status":"Sideways"})"}};
    EXPECT_EQ(vcfgFeObjChange(steps, std::size(steps), VCFG_FE_WRITE_APPLY, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(steps[0].iid.level, 0);
    EXPECT_EQ(steps[1].iid.level, 1);
    EXPECT_EQ(steps[1].iid.idx[0], interfaces[0].idx[0]);
}

TEST_F(VcmdChange, ItIsOneChangeForWhoWatches) {
    vcfg_watch_t* watch = nullptr;
    ASSERT_EQ(vcfgWatchOpen(nullptr, 0, &watch), VCFG_OK);
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"Alias":"one","Status":"Odd"})"}}),
              VCFG_ERR_INVALID);
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], R"({"Alias":"two"})"},
                      {VCFG_STEP_DELETE, RDM_OID_IP_IFACE, interfaces[0], nullptr}}),
              VCFG_OK);
    std::string told;
    vcfg_change_t one{};
    EXPECT_TRUE(eventually([&] {
        while (vcfgWatchNext(watch, &one) == VCFG_OK) {
            told.append(one.path).append(" ");
        }
        return told.ends_with("Entries ");
    })) << told;
    EXPECT_EQ(told, "IP.Interface.2.Alias IP.Interface.1 IP.InterfaceNumberOfEntries ");
    vcfgWatchClose(watch);
}

TEST_F(VcmdChange, AHookSeesTheValuesBeforeTheChangeAndBehindIt) {
    vcmd.hook("apply", kInterface, "cat >>input");
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"LastChange":1})"},
                      {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"LastChange":2})"}},
                     VCFG_FE_WRITE_AND_WAIT),
              VCFG_OK);
    const std::string input = vcmd.file("input");
    EXPECT_NE(input.find("\"LastChange\":2"), std::string::npos) << input;
    EXPECT_NE(input.find("\"LastChange\":0"), std::string::npos) << input;
    EXPECT_EQ(input.find("\"LastChange\":1"), std::string::npos) << input;
}

TEST_F(VcmdChange, ANewInstancesHookHasItsValues) {
    vcmd.hook("apply", kInterface, R"(echo $1 $2 >>applied; cat >input)");
    EXPECT_EQ(change({{VCFG_STEP_ADD, RDM_OID_IP_IFACE, {}, R"({"Alias":"new"})"}}, VCFG_FE_WRITE_AND_WAIT), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "add IP.Interface.3\n");
    EXPECT_NE(vcmd.file("input").find(R"("Alias":"new")"), std::string::npos);
    EXPECT_NE(vcmd.file("input").find(R"("previous":{})"), std::string::npos) << vcmd.file("input");
}

TEST_F(VcmdChange, HooksRunForWhatCameAndForWhatWentInOneTable) {
    vcmd.hook("apply", kInterface, R"(echo $1 $2 >>applied)");
    EXPECT_EQ(change({{VCFG_STEP_ADD, RDM_OID_IP_IFACE, {}, nullptr},
                      {VCFG_STEP_DELETE, RDM_OID_IP_IFACE, interfaces[0], nullptr}},
                     VCFG_FE_WRITE_AND_WAIT),
              VCFG_OK);
    const std::string applied = vcmd.file("applied");
    EXPECT_NE(applied.find("add IP.Interface.3\n"), std::string::npos) << applied;
    EXPECT_NE(applied.find("del IP.Interface.1\n"), std::string::npos) << applied;
}

TEST_F(VcmdChange, WhoWaitsIsAnsweredBehindTheLastHookWithTheFirstFailure) {
    vcmd.hook("apply", kInterface, R"(echo $2 >>applied; echo no cable at $2 >&2; [ "$2" = IP.Interface.2 ])");
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], nullptr},
                      {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], nullptr}},
                     VCFG_FE_WRITE_AND_WAIT),
              VCFG_ERR_FAIL);
    EXPECT_EQ(vcmd.file("applied"), "IP.Interface.1\nIP.Interface.2\n");
    EXPECT_NE(std::string(vcfg_refusalText()).find("no cable at IP.Interface.1"), std::string::npos);
}

TEST_F(VcmdChange, ThatWouldRunMoreHooksThanCanWaitIsRefusedWhole) {
    vcmd.hook("apply", kInterface, ":");
    vcmd.hook("apply", "PPP.Interface.{i}", ":");
    std::vector<vcfg_step_t> steps(250, {VCFG_STEP_ADD, RDM_OID_IP_IFACE, {}, nullptr});
    steps.insert(steps.end(), 7, {VCFG_STEP_ADD, RDM_OID_PPP_IFACE, {}, nullptr});
    EXPECT_EQ(change(steps), VCFG_ERR_FULL);
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_IP_IFACE, iid({3})), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(change(steps, VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_PPP_IFACE, iid({7})), VCFG_OK);
}

TEST_F(VcmdChange, ARequestIsAppliedAndReadsFalseAgain) {
    vcmd.hook("apply", kInterface, "cat >input");
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"Reset":true})"}}, VCFG_FE_WRITE_AND_WAIT),
              VCFG_OK);
    EXPECT_NE(vcmd.file("input").find(R"("Reset":true)"), std::string::npos);
    EXPECT_EQ(record<IpInterface>(interfaces[0]).Reset, 0);
}

TEST_F(VcmdChange, AMarkedManageableDeviceGoesWithinTheChange) {
    vcfg_step_t steps[] = {{VCFG_STEP_ADD, RDM_OID_MANAGEABLE_DEVICE, {}, nullptr},
                           {VCFG_STEP_WRITE, RDM_OID_MANAGEABLE_DEVICE, iid({0}), R"({"Alias":"MGAB_DEV_DELETE"})"}};
    EXPECT_EQ(vcfgFeObjChange(steps, std::size(steps), VCFG_FE_WRITE_APPLY, nullptr), VCFG_OK);
    EXPECT_EQ(steps[1].iid.idx[0], 1);
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_MANAGEABLE_DEVICE, iid({1})), VCFG_ERR_NOT_FOUND);
}

TEST_F(VcmdChange, WhatDoesNotFitOneRequestIsRefused) {
    const std::string alias = R"({"Alias":")" + std::string(60, 'a') + "\"}";
    const size_t size = sizeof(wire::StepHeader) + alias.size() + 1;
    const size_t most = (VCFG_MSG_PAYLOAD_MAX - sizeof(wire::WriteHeader)) / size;
    EXPECT_EQ(sizeof(wire::StepHeader), 16u) << "the header says so";
    std::vector<vcfg_step_t> steps(most, {VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], alias.c_str()});
    EXPECT_EQ(change(steps), VCFG_OK);
    steps.push_back({VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], R"({"Alias":"more"})"});
    steps.push_back(steps.front());
    EXPECT_EQ(change(steps), VCFG_ERR_INVALID);
    EXPECT_NE(std::string(vcfg_refusalText()).find("65535 bytes"), std::string::npos) << vcfg_refusalText();
    EXPECT_EQ(record<IpInterface>(interfaces[0]).Alias, std::string(60, 'a'));
}

TEST_F(VcmdChange, WrongArgumentsAreRefusedWithoutAsking) {
    EXPECT_EQ(vcfgFeObjChange(nullptr, 1, VCFG_FE_WRITE_APPLY, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(change({{4, RDM_OID_IP_IFACE, interfaces[0], nullptr}}), VCFG_ERR_INVALID);
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_COUNT, interfaces[0], nullptr}}), VCFG_ERR_INVALID);
    EXPECT_EQ(change({{VCFG_STEP_DELETE, RDM_OID_IP_IFACE, interfaces[0], "{}"}}), VCFG_ERR_INVALID);
    EXPECT_EQ(vcmd.log(), "");
    EXPECT_EQ(change({{VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[0], nullptr}}, 5), VCFG_ERR_INVALID);
}

TEST_F(VcmdChange, MalformedRequestsGetACodeAndALineAndChangeNothing) {
    const std::string good = stepBytes(VCFG_STEP_DELETE, RDM_OID_IP_IFACE, interfaces[0], "");
    const std::string text("{}\0", 3);
    const struct {
        const char* what;
        std::string payload;
    } requests[] = {
        {"nothing", ""},
        {"half a type", "ab"},
        {"an unknown kind of write", changeOf(good, 5)},
        {"half a step", changeOf(good + good.substr(0, 9))},
        {"a text longer than the request",
         changeOf(good + stepBytes(VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], text).substr(0, 17))},
        {"an unterminated text", changeOf(good + stepBytes(VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], "{}"))},
        {"a NUL within the text",
         changeOf(good + stepBytes(VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], text + text))},
        {"an unknown kind of step", changeOf(good + stepBytes(77, RDM_OID_IP_IFACE, interfaces[1], ""))},
        {"an unknown object", changeOf(good + stepBytes(VCFG_STEP_WRITE, 9999, interfaces[1], ""))},
        {"object 0", changeOf(good + stepBytes(VCFG_STEP_ADD, 0, {}, ""))},
        {"more numbers than there can be",
         changeOf(good + stepBytes(VCFG_STEP_WRITE, RDM_OID_IP_IFACE, {255, {0, 0, 0, 0, 0, 0}}, ""))},
        {"parameters of what is deleted",
         changeOf(good + stepBytes(VCFG_STEP_DELETE, RDM_OID_IP_IFACE, interfaces[1], text))},
        {"no JSON", changeOf(good + stepBytes(VCFG_STEP_WRITE, RDM_OID_IP_IFACE, interfaces[1], {"{\"Alias\"\0", 9}))},
    };
    size_t refused = 0;
    for (const auto& one : requests) {
        const vcfg::Answer answer = ask(wire::kChangeAll, 0, {}, one.payload);
        EXPECT_EQ(answer.code, VCFG_ERR_INVALID) << one.what << ": " << answer.body;
        EXPECT_FALSE(answer.body.empty()) << one.what;
        EXPECT_EQ(vcmd.logged(" is refused: "), ++refused) << one.what << "\n" << vcmd.log();
    }
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_IP_IFACE, interfaces[0]), VCFG_OK);
}
