#include "mgmt/management_nat.h"

#include <syslog.h>

#include <string>

#include "support/kit.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

class ManagementNat : public testing::Test {
  protected:
    void detect(const std::string& address) { gw.receive(VCFG_MSG_MGMT_NAT_DETECT, address); }
    std::string detected() { return gw.get("ManagementServer.NATDetected"); }
    std::string address() { return gw.get("ManagementServer.UDPConnectionRequestAddress"); }

    Gateway gw;
};

TEST_F(ManagementNat, DetectionStoresTheAddressAndWaitsUntilItIsApplied) {
    inproc::ownerApplies("ManagementServer");
    detect("203.0.113.7:7547");
    EXPECT_EQ(detected(), "true");
    EXPECT_EQ(address(), "203.0.113.7:7547");
    EXPECT_EQ(gw.writes(), Writes{"setAndWait ManagementServer"});
    EXPECT_EQ(inproc::applied(), Writes{"set ManagementServer"});
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "receiving VCFG_MSG_MGMT_NAT_DETECT"));
    EXPECT_NO_REPLY(gw);
}

TEST_F(ManagementNat, ClearingWithdrawsTheAddress) {
    detect("203.0.113.7:7547");
    gw.forget();
    inproc::forgetWrites();
    gw.receiveEmpty(VCFG_MSG_MGMT_NAT_CLEAR);
    EXPECT_EQ(detected(), "false");
    EXPECT_EQ(address(), "");
    EXPECT_EQ(gw.writes(), Writes{"setAndWait ManagementServer"});
}

TEST_F(ManagementNat, ClearingTakesNoNoticeOfAPayload) {
    detect("203.0.113.7:7547");
    gw.receive(VCFG_MSG_MGMT_NAT_CLEAR, "203.0.113.8:7547");
    EXPECT_EQ(detected(), "false");
    EXPECT_EQ(address(), "");
}

TEST_F(ManagementNat, OverlongAddressIsCut) {
    detect(std::string(256, 'a'));
    EXPECT_EQ(address(), std::string(256, 'a'));
    detect(std::string(256, 'b') + "c");
    EXPECT_EQ(address(), std::string(256, 'b'));
    detect(std::string(60000, 'd'));
    EXPECT_EQ(address(), std::string(256, 'd'));
}

TEST_F(ManagementNat, AddressIsCutBehindAWholeCharacter) {
    detect(std::string(254, 'a') + "\u00e9b");
    EXPECT_EQ(address(), std::string(254, 'a') + "\u00e9");
    detect(std::string(255, 'a') + "\u00e9");
    EXPECT_EQ(address(), std::string(255, 'a'));
    detect(std::string(253, 'a') + "\U0001F600");
    EXPECT_EQ(address(), std::string(253, 'a'));
}

TEST_F(ManagementNat, BytesThatAreNoTextAreARefusedWrite) {
    detect("203.0.113.7:7547");
    detect(std::string(300, '\x80'));
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatDetect(): set obj ManagementServer fail!"));
    EXPECT_EQ(address(), "203.0.113.7:7547");
}

TEST_F(ManagementNat, PayloadOfOneNulIsAnEmptyAddress) {
    detect("203.0.113.7:7547");
    gw.receiveBytes(VCFG_MSG_MGMT_NAT_DETECT, std::string(1, '\0'));
    EXPECT_EQ(detected(), "true");
    EXPECT_EQ(address(), "");
}

TEST_F(ManagementNat, DetectionWithoutPayloadWritesNothing) {
    gw.receiveEmpty(VCFG_MSG_MGMT_NAT_DETECT);
    EXPECT_TRUE(gw.logged("vlog", VLOG_DEBUG, "receiving VCFG_MSG_MGMT_NAT_DETECT"));
    EXPECT_FALSE(gw.loggedContaining("msg == NULL"));
    mgmtNatDetect(nullptr);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatDetect(): msg == NULL!!"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(ManagementNat, UnreadableObjectIsOneLine) {
    gw.refuseWrite(Operation::Get, "ManagementServer", 2);
    detect("203.0.113.7:7547");
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatDetect(): vcfgFeObjStructGet fail!"));
    gw.receiveEmpty(VCFG_MSG_MGMT_NAT_CLEAR);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatClear(): vcfgFeObjStructGet fail!"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(ManagementNat, RefusedWriteIsOneLine) {
    gw.refuseWrite(Operation::SetAndWait, "ManagementServer", 2);
    detect("203.0.113.7:7547");
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatDetect(): set obj ManagementServer fail!"));
    gw.receiveEmpty(VCFG_MSG_MGMT_NAT_CLEAR);
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatClear(): set obj ManagementServer fail!"));
    EXPECT_EQ(detected(), "false");
}

TEST_F(ManagementNat, ValuesThatCannotBeAppliedStay) {
    inproc::ownerRefuses("ManagementServer");
    detect("203.0.113.7:7547");
    EXPECT_TRUE(gw.logged("syslog", LOG_ERR, "mgmtNatDetect(): set obj ManagementServer fail!"));
    EXPECT_EQ(detected(), "true");
    EXPECT_EQ(address(), "203.0.113.7:7547");
}

}  // namespace
