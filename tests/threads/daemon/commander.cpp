#include "commander.h"

#include <vcfg/msg_types.h>

namespace {

constexpr uint8_t kOwnEid = 201;
constexpr uint8_t kConnection = 3;  // of the model: the PPP link and the DHCP client that nobody else commands
constexpr int kTries = 300;
constexpr int kBetweenMs = 200;

std::string session(const char* state) {
    return std::string(R"({"linkname":"own","ip":"192.0.2.33","remote":"192.0.2.1","dns":"192.0.2.1","state":")") +
           state + "\"}" + '\0';
}

}  // namespace

Commander::Commander(const Vcmd& bus, const std::string& pidFile)
    : pidFile_(pidFile), asking_(bus, VCFG_EID_TARN, kOwnEid), reporting_(bus, VCFG_EID_TARN_GROUND, kOwnEid) {}

std::string Commander::lease(bool held) const {
    return R"({"ip":"192.0.2.44","subnet":"255.255.255.0","router":"192.0.2.1","dns":"192.0.2.1","pidfile":")" +
           pidFile_ + R"(","addressAssigned":)" + (held ? "true}" : "false}") + '\0';
}

void Commander::command(uint32_t type, uint8_t instance, const Event& report) {
    ASSERT_TRUE(asking_.put({type, "", VCFG_EID_TARN, true, objIndex{1, {instance}}}));
    for (int tries = 0; tries < kTries && !asking_.comes(0); ++tries) {
        ASSERT_TRUE(reporting_.put(report));
        asking_.comes(kBetweenMs);
    }
    ASSERT_TRUE(asking_.isAnswered()) << "command " << type;
}

void Commander::round() {
    const auto tell = [](uint32_t type, const std::string& payload) {
        return Event{type, payload, VCFG_EID_TARN_GROUND};
    };
    command(VCFG_MSG_WAN_PPP_CONNECT, kConnection, tell(VCFG_MSG_PPPD, session("up")));
    command(VCFG_MSG_WAN_IP_RENEW, kConnection, tell(VCFG_MSG_DHCPC_BOUND, lease(true)));
    command(VCFG_MSG_WAN_PPP_DISCONNECT, kConnection, tell(VCFG_MSG_PPPD, session("down")));
    command(VCFG_MSG_WAN_IP_RELEASE, kConnection, tell(VCFG_MSG_DHCPC_OPTION, lease(false)));
}

// It would come before the answer to a last question.
void Commander::expectNoAnswerTooMany() {
    ASSERT_TRUE(asking_.put({VCFG_MSG_FAKEROOT_SYS_COMMAND, "", VCFG_EID_TARN, true}));
    ASSERT_TRUE(asking_.isAnswered());
    EXPECT_EQ(asking_.answers(), asking_.asked());
}
