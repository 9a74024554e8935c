#include <algorithm>
#include <new>
#include <string>

#include "core/wan_state.h"
#include "link/wan_link_table.h"
#include "startup.h"
#include "support/kit.h"
#include "support/short_memory.h"
#include "unit/words.h"

namespace {

void expectFirst(const Gateway& gw, const words::Commands& commands) {
    words::Commands ran = gw.commands();
    ran.resize(std::min(ran.size(), commands.size()));
    EXPECT_EQ(ran, commands);
}

// "processRequest <line><text>" on standard output.
bool printedByTheDispatcher(const Gateway& gw, const std::string& text) {
    const std::string name = "processRequest ";
    const auto log = gw.log();
    return std::any_of(log.begin(), log.end(), [&](const LogLine& line) {
        const size_t end = line.text.find(':');
        return line.channel == "stdout" && line.text.starts_with(name) && end != std::string::npos &&
               line.text.find_first_not_of("0123456789", name.size()) == end && line.text.substr(end) == text;
    });
}

TEST(StartupCompletion, RunsTheScriptsInOrder) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    expectFirst(gw, words::startScripts());
}

TEST(StartupCompletion, StartsUpnpWhenEnabled) {
    Gateway gw;
    gw.set("UPnP.Device.Enable", "true");
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    expectFirst(gw, words::join({words::startScripts(), words::startUpnp(false)}));
}

TEST(StartupCompletion, StartsUpnpForNatTraversal) {
    Gateway gw;
    gw.set("UPnP.Device.Enable", "true");
    gw.set("UPnP.Device.X_VORAN_NATTraversal", "true");
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    expectFirst(gw, words::join({words::startScripts(), words::startUpnp(true)}));
}

TEST(StartupCompletion, LeavesDisabledUpnpAlone) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    for (const std::string& command : gw.commands()) {
        EXPECT_EQ(command.find("vupnp"), std::string::npos);
    }
}

TEST(StartupCompletion, NoticeIsAwaitedWithoutLimit) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    ASSERT_FALSE(gw.requests().empty());
    const SentMessage notice = gw.requests().back();
    EXPECT_EQ(notice.type, VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_TRUE(notice.awaited);
    EXPECT_EQ(notice.patienceMs, 0u);
}

TEST(StartupCompletion, SecondRunsTheScriptsAndUpnpAgain) {
    Gateway gw;
    gw.set("UPnP.Device.Enable", "true");
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    gw.forget();
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    expectFirst(gw, words::join({words::startScripts(), words::startUpnp(false)}));
}

TEST(StartupCompletion, SaysSoOnceAtTheEndOfTheScripts) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    const auto log = gw.log();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const LogLine& line) { return line.text == "System: System init finished"; }),
              1);
    EXPECT_TRUE(gw.logged("syslog", 5, "System: System init finished"));
}

TEST(StartupCompletion, TellsVcmdAndPrintsItsAnswer) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    const auto requests = gw.requests();
    ASSERT_FALSE(requests.empty());
    EXPECT_EQ(requests.back().type, 0x800000EBu);
    EXPECT_EQ(requests.back().dstEid, VCFG_EID_VCMD);
    EXPECT_EQ(requests.back().length, 0);
    EXPECT_TRUE(gw.logged("vlog", 7, "VCFG_MSG_INIT_DATAMODEL_FIN, send to VCMD"));
    EXPECT_TRUE(gw.loggedContaining("sendInitFin() : fail to send msg to VCMD. Receive message : OK"));
}

TEST(StartupCompletion, PrintsNothingWhenVcmdDoesNotAnswer) {
    Gateway gw;
    gw.endpointAnswers(VCFG_EID_VCMD, VCFG_ERR_NO_PEER);
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_FALSE(gw.loggedContaining("fail to send msg to VCMD"));
}

TEST(StartupCompletion, ResetsTheLanPhysOnceInTheDaemonsLife) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_TRUE(gw.logged("vlog", 7, "do tarnLanPhyReset"));
    gw.forget();
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_FALSE(gw.loggedContaining("tarnLanPhyReset"));
    expectFirst(gw, words::startScripts());
}

TEST(StartupCompletion, BuildsTheLinkTableOnceAndUpdatesTheLinks) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_TRUE(printedByTheDispatcher(gw, ": Run updateWanLinkStatus(NULL, true)"));
    EXPECT_EQ(wan.wanLinkInfoInit, 1);
    gw.forget();
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_FALSE(gw.loggedContaining("Run updateWanLinkStatus(NULL, true)"));
}

// The table's entries are made with new, one by one; the first that fails is the one after so many.
bool completesWithoutATable(Gateway& gw) {
    for (int after = 0; after < 500; ++after) {
        forgetWanLinks();
        wan.wanLinkInfoInit = 0;
        gw.forget();
        short_memory::failOneNew(after);
        try {
            initialiseLinks(false);
        } catch (const std::bad_alloc&) {
        }
        short_memory::allNewsSucceed();
        if (gw.logged("syslog", 3, "Init WAN Link Information Fail")) {
            return true;
        }
    }
    return false;
}

TEST(StartupCompletion, TableThatCannotBeBuiltLeavesTheLinksAlone) {
    Gateway gw;
    gw.set("DSL.Line.1.LinkStatus", "Up");
    ASSERT_TRUE(completesWithoutATable(gw));
    EXPECT_FALSE(gw.loggedContaining("Run updateWanLinkStatus(NULL, true)"));
    EXPECT_EQ(wan.wanLinkInfoInit, 0);
    EXPECT_EQ(gw.requests().back().type, 0x800000EBu);
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    EXPECT_EQ(wan.wanLinkInfoInit, 1);
}

TEST(StartupCompletion, ForgetsRunningHunts) {
    Gateway gw;
    wan.isAutoHuntFinished = 1;
    wan.isVcAutoHuntRunnig = 1;
    wan.isVlanAutoHuntRunnig = 1;
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_EQ(wan.isAutoHuntFinished, 0);
    EXPECT_EQ(wan.isVcAutoHuntRunnig, 0);
    EXPECT_EQ(wan.isVlanAutoHuntRunnig, 0);
}

TEST(LinkInitialisation, RunsNoScripts) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    for (const std::string& command : gw.commands()) {
        EXPECT_EQ(command.find("/etc/init.d/"), std::string::npos);
    }
    EXPECT_FALSE(gw.requests().empty());
}

TEST(LinkInitialisation, FinishedHuntIsRemembered) {
    Gateway gw;
    gw.receiveEmpty(VCFG_MSG_AUTO_HUNT_FINISHED);
    EXPECT_EQ(wan.isAutoHuntFinished, 1);
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    EXPECT_EQ(wan.isAutoHuntFinished, 0);
}

}  // namespace
