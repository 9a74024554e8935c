// Changes of the data model in an event loop, and the reasons of refusals: <vcfg/loop.h> with a real vcmd.
#include <poll.h>
#include <vcfg/loop.h>

#include "vcmd_kit.h"

namespace {

int64_t nowUs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

int awaitChange(vcfg_watch_t* watch, vcfg_change_t* change) {
    int code = VCFG_OK;
    pollfd state{vcfgWatchFd(watch), POLLIN, 0};
    while ((code = vcfgWatchNext(watch, change)) == VCFG_ERR_TIMEOUT && poll(&state, 1, 5000) > 0) {
    }
    return code;
}

// The next change as "path old -> new", "-" for what is not there; the code when there is none.
std::string nextChange(vcfg_watch_t* watch) {
    vcfg_change_t change;
    const int code = awaitChange(watch, &change);
    const auto text = [](const char* value) { return std::string(value != nullptr ? value : "-"); };
    return code != VCFG_OK ? std::to_string(code)
                           : text(change.path) + " " + text(change.oldValue) + " -> " + text(change.newValue) + " " +
                                 text(change.by);
}

TEST(VcmdLoop, ChangesComeInOrderWithOldAndNewAndWho) {
    Vcmd vcmd;
    vcmd.start();
    vcfg_watch_t* watch = nullptr;
    const char* const paths[] = {"IP.Interface.*.Alias", "IP.Interface.1"};
    ASSERT_EQ(vcfgWatchOpen(paths, 2, &watch), VCFG_OK);
    vcfg_change_t none;
    EXPECT_EQ(vcfgWatchNext(watch, &none), VCFG_ERR_TIMEOUT);
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    ASSERT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"a","Name":"not watched"})"), VCFG_OK);
    ASSERT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"b"})"), VCFG_OK);
    ASSERT_EQ(vcfgFeObjStructDel(RDM_OID_IP_IFACE, &interface, nullptr), VCFG_OK);
    EXPECT_EQ(nextChange(watch), "IP.Interface.1 - ->  eid 200");
    EXPECT_EQ(nextChange(watch), "IP.Interface.1.Alias  -> a eid 200");
    EXPECT_EQ(nextChange(watch), "IP.Interface.1.Alias a -> b eid 200");
    EXPECT_EQ(nextChange(watch), "IP.Interface.1  -> - eid 200");
    vcfgWatchClose(watch);
}

TEST(VcmdLoop, EachChangeSaysWhenItWasMade) {
    Vcmd vcmd;
    vcmd.start();
    vcfg_watch_t* watch = nullptr;
    ASSERT_EQ(vcfgWatchOpen(nullptr, 0, &watch), VCFG_OK);
    const int64_t before = nowUs();
    addInstance(RDM_OID_IP_IFACE);
    const int64_t after = nowUs();
    vcfg_change_t change{};
    ASSERT_EQ(awaitChange(watch, &change), VCFG_OK);
    EXPECT_GE(change.timeUs, before);
    EXPECT_LE(change.timeUs, after);
    vcfgWatchClose(watch);
}

TEST(VcmdLoop, WatchEndsWithVcmd) {
    Vcmd vcmd;
    vcmd.start();
    vcfg_watch_t* watch = nullptr;
    ASSERT_EQ(vcfgWatchOpen(nullptr, 0, &watch), VCFG_OK);
    EXPECT_EQ(vcmd.stop(), 0);
    EXPECT_EQ(nextChange(watch), std::to_string(VCFG_ERR_NO_PEER));
    vcfgWatchClose(watch);
}

TEST(VcmdLoop, ReasonOfARefusalIsTheCallersUntilTheNextRequestIsGranted) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_STREQ(vcfg_refusalText(), "");
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Sideways"})"), VCFG_ERR_INVALID);
    EXPECT_NE(std::string(vcfg_refusalText()).find("Status takes one of Up,Down"), std::string::npos)
        << vcfg_refusalText();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Up"})"), VCFG_OK);
    EXPECT_STREQ(vcfg_refusalText(), "");
}

}  // namespace
