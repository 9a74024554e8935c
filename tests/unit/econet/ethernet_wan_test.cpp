#include "platform/ethernet_wan.h"

#include "unit/wan_fixture.h"

namespace {

TEST(EthernetWan, ActivationIsPrintedAndItsResultReturned) {
    WanGateway gw;
    gw.commandResult("/userfs/bin/ethphxcmd eth0 wanactive enable", 512);
    EXPECT_EQ(tarnEthWanStatusChange(true, 1), 512);
    EXPECT_TRUE(gw.logged("stdout", "tarnEthWanStatusChange: sysCmd = /userfs/bin/ethphxcmd eth0 wanactive enable"));
    EXPECT_EQ(tarnEthWanStatusChange(false, 2), 0);
    EXPECT_TRUE(gw.logged("stdout", "tarnEthWanStatusChange: sysCmd = /userfs/bin/ethphxcmd eth0 wanactive disable"));
}

}  // namespace
