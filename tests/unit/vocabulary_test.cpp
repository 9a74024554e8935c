#include <string>

#include "core/json.h"
#include "core/path.h"
#include "core/record.h"
#include "core/shell.h"
#include "support/kit.h"

namespace {

TEST(Shell, OrdinaryValuesStayLetterForLetter) {
    Gateway gw;
    shell("vlanctl --tx --if %s --tags 0 --rule-remove %d", "ptm0.1", 3);
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"vlanctl --tx --if ptm0.1 --tags 0 --rule-remove 3"}));
}

TEST(Shell, NoValueCanBecomeACommand) {
    Gateway gw;
    shell("ip link show %s", "eth0; reboot");
    shell("ip link show %s", "$(reboot)");
    shell("ip link show %s", "it's");
    shell("ip link show %s", "");
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"ip link show 'eth0; reboot'", "ip link show '$(reboot)'",
                                                       "ip link show 'it'\\''s'", "ip link show ''"}));
}

TEST(Shell, ValueWithPlacesIsNotFilledAgain) {
    Gateway gw;
    shell("echo %s %s", "%s", "b");
    EXPECT_EQ(gw.commands(), (std::vector<std::string>{"echo %s b"}));
}

TEST(Path, InstanceIsTheNumberBehindTheTable) {
    EXPECT_EQ(path::instance(path::kIpInterface, "IP.Interface.7"), 7);
    EXPECT_EQ(path::instance(path::kIpInterface, "IP.Interface.255"), 255);
    EXPECT_EQ(path::of(path::kIpInterface, 7), "IP.Interface.7");
}

TEST(Path, NumbersThatNoInstanceHasAreNone) {
    for (const char* text :
         {"IP.Interface.0", "IP.Interface.256", "IP.Interface.-1", "IP.Interface.+1", "IP.Interface.",
          "IP.Interface.1x", "IP.Interface. 1", "IP.Interface.4294967297", "PPP.Interface.1", ""}) {
        EXPECT_FALSE(path::instance(path::kIpInterface, text)) << text;
    }
}

TEST(JsonPayload, ReadsWithTheStatedDefaults) {
    const Json json = Json::parse(R"({"a":"x","b":5,"c":true})");
    EXPECT_EQ(json.text("a"), "x");
    EXPECT_EQ(json.integer("b"), 5);
    EXPECT_TRUE(json.flag("c"));
    EXPECT_FALSE(json.text("none"));
    EXPECT_EQ(json.integer("none"), 0);
    EXPECT_FALSE(json.flag("none"));
}

TEST(JsonPayload, NumberGivenAsTextReadsAsThatNumber) {
    EXPECT_EQ(Json::parse(R"({"a":"128"})").integer("a"), 128);
    EXPECT_EQ(Json::parse(R"({"a":5})").text("a"), "5");
}

TEST(JsonPayload, ContainersAndNullReadAsMissing) {
    const Json json = Json::parse(R"({"a":[1],"b":{"c":1},"d":null})");
    for (const char* key : {"a", "b", "d"}) {
        EXPECT_FALSE(json.text(key)) << key;
        EXPECT_EQ(json.integer(key, 7), 7) << key;
        EXPECT_FALSE(json.flag(key)) << key;
    }
}

TEST(JsonPayload, HugeNumbersAreHeldToTheRange) {
    EXPECT_EQ(Json::parse(R"({"a":99999999999999999999})").integer("a"), INT32_MAX);
    EXPECT_EQ(Json::parse(R"({"a":-99999999999999999999})").integer("a"), INT32_MIN);
}

TEST(JsonPayload, WhatIsNoObjectIsNotValid) {
    for (const char* text : {"", "x", "[]", "1", "\"a\"", "null", "{"}) {
        EXPECT_FALSE(Json::parse(text).valid()) << text;
        EXPECT_FALSE(Json::parse(text).text("a")) << text;
    }
    EXPECT_FALSE(Json::parse(nullptr).valid());
}

TEST(JsonPayload, NestingWithoutEndIsNotValid) {
    EXPECT_FALSE(Json::parse(std::string(10000, '[').c_str()).valid());
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        deep += "{\"a\":";
    }
    EXPECT_FALSE(Json::parse(deep.c_str()).valid());
}

TEST(RecordWalk, LoopMayDeleteAndTakeRecordsAway) {
    Gateway gw;
    gw.add("IP.Interface.1");
    gw.add("IP.Interface.2");
    gw.add("IP.Interface.3");
    Record<IpInterface> kept;
    for (auto& interface : instances<IpInterface>()) {
        if (interface.instance() == 1) {
            interface.remove();
        } else if (interface.instance() == 2) {
            kept = std::move(interface);
        }
    }
    EXPECT_EQ(kept.instance(), 2);
    EXPECT_FALSE(gw.exists("IP.Interface.1"));
}

TEST(RecordWalk, ChildrenAreThoseOfOneParent) {
    Gateway gw;
    gw.add("IP.Interface.1.IPv4Address.1");
    gw.add("IP.Interface.2.IPv4Address.4");
    gw.add("IP.Interface.2.IPv4Address.5");
    std::vector<int> found;
    for (auto& address : children<IpInterfaceIpv4Address>(instanceId({2}))) {
        found.push_back(address.instance());
    }
    EXPECT_EQ(found, (std::vector<int>{4, 5}));
}

TEST(RecordText, TooLongIsCutAndTerminated) {
    vcfg::Text<3> text{};
    text = "abcdef";
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(text.bytes[3], '\0');
    text = "x";
    EXPECT_EQ(text.view(), "x");
}

TEST(RecordText, IsCutBehindAWholeCharacter) {
    const std::pair<const char*, const char*> cases[] = {
        {"ab\xc3\xa4", "ab"},   {"a\xc3\xa4z", "a\xc3\xa4"}, {"\xe2\x82\xac!", "\xe2\x82\xac"},
        {"a\xe2\x82\xac", "a"}, {"\xf0\x9f\x98\x80", ""},    {"\x80\x80\x80\x80", "\x80\x80\x80"}};
    for (const auto& [given, kept] : cases) {
        vcfg::Text<3> text{};
        text = given;
        EXPECT_EQ(text, kept) << given;
    }
}

}  // namespace
