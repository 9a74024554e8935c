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

TEST(JsonPayload, UnsignedNumbersAreHeldToTheRange) {
    const Json json = Json::parse(R"({"a":-1,"b":4294967296,"c":18446744073709551615,"d":"18446744073709551616",
        "e":"x","f":null,"g":2.9,"h":NaN,"i":"-7"})");
    EXPECT_EQ(json.unsigned32("a"), 0u);
    EXPECT_EQ(json.unsigned32("b"), UINT32_MAX);
    EXPECT_EQ(json.unsigned64("b"), 4294967296u);
    EXPECT_EQ(json.unsigned64("c"), UINT64_MAX);
    EXPECT_EQ(json.unsigned64("d"), UINT64_MAX);
    EXPECT_EQ(json.unsigned64("e"), 0u);
    EXPECT_EQ(json.unsigned64("f"), 0u);
    EXPECT_EQ(json.unsigned64("g"), 2u);
    EXPECT_EQ(json.unsigned64("h"), 0u);
    EXPECT_EQ(json.unsigned64("i"), 0u);
    EXPECT_EQ(json.unsigned64("none"), 0u);
}

TEST(JsonPayload, ElementsAreReadOneByOne) {
    const Json json = Json::parse(R"({"list":[{"a":1},null,5],"one":{"a":2},"none":null})");
    EXPECT_EQ(json.length("list"), 3u);
    EXPECT_EQ(json.element("list", 0)->integer("a"), 1);
    EXPECT_FALSE(json.element("list", 1));
    EXPECT_FALSE(json.element("list", 2)->valid());
    EXPECT_FALSE(json.element("list", 3));
    EXPECT_EQ(json.child("one")->integer("a"), 2);
    EXPECT_FALSE(json.child("none"));
    EXPECT_EQ(json.length("one"), 0u);
    EXPECT_EQ(Json::parse("x").length("list"), 0u);
    EXPECT_FALSE(Json::parse("x").child("one"));
}

TEST(JsonPayload, ElementOutlivesItsPayload) {
    std::optional<Json> element;
    { element = Json::parse(R"({"list":[{"a":"kept"}]})").element("list", 0); }
    EXPECT_EQ(element->text("a"), "kept");
}

TEST(JsonPayload, KeysAndNullsAreRemoved) {
    Json json = Json::parse(R"({"a":null,"b":1,"c":null,"d":{"e":null}})");
    json.remove("b");
    json.removeNulls();
    json.set("f", UINT32_MAX);
    EXPECT_EQ(json.toText(), R"({"d":{"e":null},"f":4294967295})");
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

TEST(RecordText, NoCharacterIsCutInTwo) {
    vcfg::Text<3> text{};
    text = "ab\xC3\xA9";
    EXPECT_EQ(text, "ab");
    text = "\xC3\xA9z!";
    EXPECT_EQ(text, "\xC3\xA9z");
    text = "\xF0\x9F\x90\xB1";
    EXPECT_EQ(text, "");
    text = "\x80\x80\x80\x80\x80";  // no character at all
    EXPECT_EQ(text, "\x80\x80\x80");
}

}  // namespace
