// A model that takes the place of another: who hears of it, and what becomes of one that is never whole.
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/loop.h>

#include <algorithm>
#include <fstream>

#include "vcmd_kit.h"

namespace wire = vcfg::wire;

namespace {

constexpr size_t kPart = 60000;
constexpr size_t kLarge = 24u << 20;

class VcmdLoad : public ::testing::Test {
  protected:
    void SetUp() override { vcmd.start(); }
    // Kilobytes of its memory.
    long resident() const {
        std::ifstream status("/proc/" + std::to_string(vcmd.pid()) + "/status");
        std::string word;
        while (status >> word && word != "VmRSS:") {
        }
        long size = 0;
        status >> size;
        return size;
    }
    Vcmd vcmd;
};

std::string modelWith(const std::string& objects) {
    return R"({"version":1,"objects":{)" + objects + "}}";
}

void sendParts() {
    const std::string part(kPart, ' ');
    for (size_t at = 0; at < kLarge; at += kPart) {
        ASSERT_EQ(ask(wire::kLoadPart, static_cast<uint32_t>(at), {}, part).code, VCFG_OK);
    }
}

}  // namespace

TEST_F(VcmdLoad, WatchersAreToldWhatDiffersAsOneChangeOfWhoLoaded) {
    ASSERT_EQ(load(modelWith(R"("IP.Interface.1":{"Alias":"old","Status":"Up"},"IP.Interface.2":{},)"
                             R"("IP.Interface.2.IPv4Address.1":{},"PPP.Interface.1":{})"))
                  .code,
              VCFG_OK);
    vcfg_watch_t* watch = nullptr;
    ASSERT_EQ(vcfgWatchOpen(nullptr, 0, &watch), VCFG_OK);
    ASSERT_EQ(load(modelWith(R"("IP.Interface.1":{"Alias":"new","Status":"Up"},"PPP.Interface.1":{},)"
                             R"("PPP.Interface.1.PPPoE":{"ACName":"ac"},"Ethernet.Link.1":{"Enable":true})"))
                  .code,
              VCFG_OK);
    std::vector<std::string> told;
    vcfg_change_t one{};
    EXPECT_TRUE(eventually([&] {
        while (vcfgWatchNext(watch, &one) == VCFG_OK) {
            told.push_back(std::string(one.path) + ":" + (one.oldValue != nullptr ? one.oldValue : "-") + ":" +
                           (one.newValue != nullptr ? one.newValue : "-") + ":" + one.by);
        }
        return told.size() >= 6;
    }));
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, (std::vector<std::string>{"Ethernet.Link.1.Enable:false:true:eid 200", "Ethernet.Link.1:-::eid 200",
                                              "IP.Interface.1.Alias:old:new:eid 200", "IP.Interface.2::-:eid 200",
                                              "IP.InterfaceNumberOfEntries:2:1:eid 200",
                                              "PPP.Interface.1.PPPoE.ACName::ac:eid 200"}));
    vcfgWatchClose(watch);
}

TEST_F(VcmdLoad, ARefusedModelIsToldToNobodyAndRunsNoHook) {
    addInstance(RDM_OID_IP_IFACE);
    vcmd.hook("apply", "IP.Interface.{i}", "echo $1 $2 >>applied");
    vcfg_watch_t* watch = nullptr;
    ASSERT_EQ(vcfgWatchOpen(nullptr, 0, &watch), VCFG_OK);
    EXPECT_EQ(load(modelWith(R"("IP.Interface.1":{"Enable":true},"IP.Interface.2":{"Status":"Odd"})")).code,
              VCFG_ERR_INVALID);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, iid({1}), R"({"Alias":"mine"})", VCFG_FE_WRITE_AND_WAIT), VCFG_OK);
    vcfg_change_t one{};
    ASSERT_TRUE(eventually([&] { return vcfgWatchNext(watch, &one) == VCFG_OK; }));
    EXPECT_STREQ(one.path, "IP.Interface.1.Alias");
    EXPECT_EQ(vcmd.file("applied"), "set IP.Interface.1\n");
    vcfgWatchClose(watch);
}

TEST_F(VcmdLoad, HooksRunForWhatDiffers) {
    ASSERT_EQ(load(modelWith(R"("IP.Interface.1":{},"IP.Interface.2":{},"IP.Interface.2.IPv4Address.1":{},)"
                             R"("IP.Interface.3":{"Enable":true})"))
                  .code,
              VCFG_OK);
    vcmd.hook("apply", "IP.Interface.{i}", "echo $1 $2 >>applied; cat >input");
    vcmd.hook("apply", "IP.Interface.{i}.IPv4Address.{i}", "echo $1 $2 >>applied");
    ASSERT_EQ(load(modelWith(R"("IP.Interface.1":{},"IP.Interface.3":{"Enable":false},"IP.Interface.4":{"Alias":"x"})"),
                   VCFG_FE_WRITE_AND_WAIT)
                  .code,
              VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"),
              "del IP.Interface.2.IPv4Address.1\ndel IP.Interface.2\nset IP.Interface.3\nadd IP.Interface.4\n");
    EXPECT_NE(vcmd.file("input").find(R"("Alias":"x")"), std::string::npos);
}

TEST_F(VcmdLoad, WithoutApplyNoHookRuns) {
    vcmd.hook("apply", "IP.Interface.{i}", "echo $1 $2 >>applied");
    EXPECT_EQ(load(modelWith(R"("IP.Interface.1":{"Enable":true})"), VCFG_FE_WRITE_NO_APPLY).code, VCFG_OK);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, iid({1}), "{}", VCFG_FE_WRITE_AND_WAIT), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "set IP.Interface.1\n");
}

TEST_F(VcmdLoad, ALoadOfNoKindIsRefused) {
    EXPECT_EQ(load(modelWith(""), 5).code, VCFG_ERR_INVALID);
    EXPECT_EQ(ask(wire::kLoadPart, 0, {}, modelWith("")).code, VCFG_OK);
    EXPECT_EQ(ask(wire::kLoad, 0, {}, "half").code, VCFG_ERR_INVALID);
}

TEST_F(VcmdLoad, PartsWhoseSenderHasGoneAreDropped) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer keeps memory that has been freed";
#endif
    const long before = resident();
    const pid_t sender = fork();
    if (sender == 0) {
        sendParts();
        _exit(resident() < before + static_cast<long>(kLarge / 1024) / 2 || HasFailure());
    }
    int status = -1;
    ASSERT_EQ(waitpid(sender, &status, 0), sender);
    ASSERT_EQ(status, 0) << "the parts have not been kept to begin with";
    EXPECT_TRUE(eventually([&] { return resident() < before + static_cast<long>(kLarge / 1024) / 2; }))
        << before << " " << resident();
}
