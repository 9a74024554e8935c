#include <syslog.h>

#include "support/kit.h"

namespace {

using Commands = std::vector<std::string>;

class Tr064Update : public testing::Test {
  protected:
    void lanDeviceChanged() { gw.receiveEmpty(VCFG_MSG_TR64_LAN_DEVICE_UPDATE); }

    Gateway gw;
};

TEST_F(Tr064Update, RestartsTheDaemonInTheBackground) {
    gw.set("X_VORAN_TR064.Enable", "true");
    lanDeviceChanged();
    EXPECT_EQ(gw.commands(), (Commands{"killall -9 vtr64", "vtr64 &"}));
    EXPECT_TRUE(gw.logged("syslog", LOG_INFO, "receiving VCFG_MSG_TR64_LAN_DEVICE_UPDATE"));
    EXPECT_NO_REPLY(gw);
}

TEST_F(Tr064Update, StartsNothingWhenDisabled) {
    lanDeviceChanged();
    EXPECT_EQ(gw.commands(), Commands{});
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(Tr064Update, UnreadableSettingsAreTwoLines) {
    gw.set("X_VORAN_TR064.Enable", "true");
    gw.refuseWrite(inproc::Operation::Get, "X_VORAN_TR064");
    lanDeviceChanged();
    const auto log = gw.log();
    ASSERT_GE(log.size(), 2u);
    const LogLine& first = log[log.size() - 2];
    EXPECT_EQ(first.channel, "syslog");
    EXPECT_EQ(first.level, LOG_ERR);
    EXPECT_EQ(first.text, "tr64LanDeviceUpdate(): vcfgFeObjStructGet(RDM_OID_ROUTING_ROUTER) fail!");
    EXPECT_EQ(log.back().channel, "stdout");
    EXPECT_EQ(log.back().text, "Get RDM_OID_TR064 fail!!");
    EXPECT_EQ(gw.commands(), Commands{});
}

}  // namespace
