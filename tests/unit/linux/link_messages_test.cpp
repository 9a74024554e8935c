#include "platform/linux/link_messages.h"

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>

#include <cstring>

namespace {

using link_messages::decode;

template <class T>
std::string bytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string padded(std::string bytes) {
    bytes.resize(NLMSG_ALIGN(bytes.size()), '\0');
    return bytes;
}

std::string message(uint16_t type, const std::string& body, uint16_t flags = 0) {
    const nlmsghdr header{static_cast<uint32_t>(sizeof(nlmsghdr) + body.size()), type, flags, 0, 0};
    return padded(bytesOf(header) + body);
}

std::string attribute(uint16_t type, const std::string& value) {
    return padded(bytesOf(rtattr{static_cast<uint16_t>(sizeof(rtattr) + value.size()), type}) + value);
}

struct Info {
    int index = 7;
    unsigned flags = IFF_UP | IFF_LOWER_UP;
    uint16_t kind = ARPHRD_ETHER;
    uint8_t family = AF_UNSPEC;
};
std::string info(const Info& given) {
    ifinfomsg raw{};
    raw.ifi_family = given.family;
    raw.ifi_type = given.kind;
    raw.ifi_index = given.index;
    raw.ifi_flags = given.flags;
    return bytesOf(raw);
}
std::string name(const std::string& text) {
    return attribute(IFLA_IFNAME, text + '\0');
}

TEST(LinkMessages, LinkIsUpWhenItIsOnAndHasItsLink) {
    for (const unsigned flags : {0u, unsigned{IFF_UP}, unsigned{IFF_LOWER_UP}, unsigned{IFF_UP | IFF_LOWER_UP}}) {
        const auto found = decode(message(RTM_NEWLINK, info({.flags = flags}) + name("wan0")));
        ASSERT_EQ(found.links.size(), 1u);
        EXPECT_EQ(found.links[0].up, flags == unsigned{IFF_UP | IFF_LOWER_UP}) << flags;
        EXPECT_FALSE(found.links[0].gone);
    }
}

TEST(LinkMessages, ManyLieInOneDatagram) {
    std::string datagram;
    for (int n = 1; n <= 20; ++n) {
        datagram += message(RTM_NEWLINK,
                            info({.index = n}) + attribute(IFLA_MTU, "\1\2\3") + name("eth0." + std::to_string(n)));
    }
    const auto found = decode(datagram);
    ASSERT_EQ(found.links.size(), 20u);
    EXPECT_EQ(found.links[19].name, "eth0.20");
    EXPECT_EQ(found.links[19].index, 20);
}

TEST(LinkMessages, NameHasUpToFifteenCharactersAndAnyOfThem) {
    EXPECT_EQ(decode(message(RTM_NEWLINK, info({}) + name("enp1s0.3999-lan"))).links.at(0).name, "enp1s0.3999-lan");
    EXPECT_EQ(decode(message(RTM_NEWLINK, info({}) + attribute(IFLA_IFNAME, "noend"))).links.at(0).name, "noend");
}

TEST(LinkMessages, RemovedLinkIsGoneAndDown) {
    const auto found = decode(message(RTM_DELLINK, info({}) + name("wan0")));
    ASSERT_EQ(found.links.size(), 1u);
    EXPECT_TRUE(found.links[0].gone);
    EXPECT_FALSE(found.links[0].up);
}

TEST(LinkMessages, PortThatLeavesABridgeIsNotGone) {
    EXPECT_TRUE(decode(message(RTM_DELLINK, info({.family = AF_BRIDGE}) + name("wan0"))).links.empty());
}

TEST(LinkMessages, OnlyEthernetCounts) {
    EXPECT_TRUE(decode(message(RTM_NEWLINK, info({.kind = ARPHRD_LOOPBACK}) + name("lo"))).links.empty());
    EXPECT_TRUE(decode(message(RTM_NEWLINK, info({.kind = ARPHRD_PPP}) + name("ppp0"))).links.empty());
    EXPECT_TRUE(decode(message(RTM_NEWADDR, info({}) + name("wan0"))).links.empty());
}

TEST(LinkMessages, EndRefusalAndInconsistencyOfAListAreSeen) {
    EXPECT_TRUE(decode(message(NLMSG_DONE, "\0\0\0\0")).listEnded);
    EXPECT_TRUE(decode(message(NLMSG_ERROR, "\xff\0\0\0")).refused);
    EXPECT_TRUE(decode(message(RTM_NEWLINK, info({}) + name("a"), NLM_F_DUMP_INTR)).inconsistent);
    EXPECT_FALSE(decode(message(RTM_NEWLINK, info({}) + name("a"))).inconsistent);
}

TEST(LinkMessages, EveryCutAndEveryFlippedByteIsSurvived) {
    const std::string whole = message(RTM_NEWLINK, info({}) + attribute(IFLA_MTU, "1234") + name("wan0")) +
                              message(RTM_DELLINK, info({.index = 8}) + name("wan1"));
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_LE(decode(std::string(whole, 0, length)).links.size(), 2u);
    }
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const int value : {0, 1, 0x7f, 0xff}) {
            std::string broken = whole;
            broken[at] = static_cast<char>(value);
            for (const auto& link : decode(broken).links) {
                EXPECT_LT(link.name.size(), whole.size());
            }
        }
    }
}

TEST(LinkMessages, LengthsThatLieEndTheDatagram) {
    for (const uint32_t length : {0u, 1u, 15u, 4000u, 0xffffffffu}) {
        std::string lie = message(RTM_NEWLINK, info({}) + name("wan0"));
        memcpy(lie.data(), &length, sizeof length);
        EXPECT_TRUE(decode(lie).links.empty()) << length;
    }
}

}  // namespace
