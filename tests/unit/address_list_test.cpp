#include "core/address.h"
#include "dhcp_support.h"

namespace {

// `count` addresses of 13 characters.
std::string addresses(int count, const std::string& between) {
    std::string list = "192.168.100.1";
    for (int i = 1; i < count; ++i) {
        list += between + "192.168.100.1";
    }
    return list;
}

TEST(AddressList, ThatFitsStaysAsItIs) {
    EXPECT_EQ(wholeEntries("10.0.0.1 10.0.0.2", 17), "10.0.0.1 10.0.0.2");
    EXPECT_EQ(wholeEntries(" ,", 2), " ,");
    EXPECT_EQ(wholeEntries("", 0), "");
}

TEST(AddressList, EndsBehindTheLastEntryThatFits) {
    EXPECT_EQ(wholeEntries("10.0.0.1 10.0.0.2", 16), "10.0.0.1");
    EXPECT_EQ(wholeEntries("10.0.0.1 10.0.0.2", 9), "10.0.0.1");
    EXPECT_EQ(wholeEntries("10.0.0.1 10.0.0.2", 8), "10.0.0.1");
    EXPECT_EQ(wholeEntries("10.0.0.1, 10.0.0.2", 16), "10.0.0.1");
    EXPECT_EQ(wholeEntries("10.0.0.1,,10.0.0.2", 10), "10.0.0.1");
}

TEST(AddressList, EntryThatDoesNotFitAloneIsNotCut) {
    EXPECT_EQ(wholeEntries("10.0.0.1 10.0.0.2", 7), "");
    EXPECT_EQ(wholeEntries("10.0.0.1", 7), "");
    EXPECT_EQ(wholeEntries(" 10.0.0.1", 5), "");
}

class DhcpAddressList : public DhcpBase {
  protected:
    void receive(const std::string& keys) {
        gw.receive(VCFG_MSG_DHCPC_BOUND,
                   R"({"addressAssigned":true,"ip":"192.0.2.10",)" + keys + R"(,"pidfile":")" + kPid + "\"}");
    }
};

TEST_F(DhcpAddressList, RoutersAreCutBehindAWholeOne) {
    receive(R"("router":")" + addresses(18, " ") + "\"");
    EXPECT_EQ(client("IPRouters"), addresses(18, " "));  // 251 of 256 characters
    receive(R"("router":")" + addresses(19, " ") + "\"");
    EXPECT_EQ(client("IPRouters"), addresses(18, " "));
}

TEST_F(DhcpAddressList, ServersAreCutBehindAWholeOne) {
    const std::string first(200, '1');
    receive(R"("dns":")" + first + " " + std::string(56, '2') + "\"");
    EXPECT_EQ(client("DNSServers"), first);
    receive(R"("dns":")" + std::string(300, '1') + "\"");
    EXPECT_EQ(client("DNSServers"), "");
}

TEST_F(DhcpAddressList, BorderRelaysAreCutBehindAWholeOneAndTheRestOf6rdIsWritten) {
    receive(R"("v6rdAssigned":true,"v4MaskLen":8,"brAddr":")" + addresses(58, ",") + "\"");
    EXPECT_EQ(interface("X_VORAN_BorderRelayIPv4Addresses"), addresses(18, ","));
    EXPECT_EQ(interface("X_VORAN_IPv4MaskLength"), "8");
}

}  // namespace
