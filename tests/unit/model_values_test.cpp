// Values as text, and back, for every kind of parameter.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "model/describe.h"

using vcfg::model::Kind;
using vcfg::model::Parameter;

namespace {

// One parameter of that kind, alone in a record.
class OneValue {
  public:
    explicit OneValue(Kind kind, uint16_t size, const char* values = "", const char* name = "Value",
                      vcfg::model::Access access = vcfg::model::Access::RW)
        : parameter_{name, kind, access, size, 8, "", values, RDM_OID_NONE}, record_(size_t{8} + size + 8, '\x5a') {
        std::memset(record_.data() + 8, 0, size);
    }

    bool takes(const std::string& text) {
        why.clear();
        return setValue(parameter_, record_.data(), text, &why);
    }
    std::string text() const { return valueText(parameter_, record_.data()); }
    bool valid() { return checkValue(parameter_, record_.data(), &why); }
    char* bytes() { return record_.data() + 8; }
    bool neighboursUntouched() const {
        return std::string(record_.data(), 8) == std::string(8, '\x5a') &&
               std::string(record_.data() + record_.size() - 8, 8) == std::string(8, '\x5a');
    }

    std::string why;

  private:
    Parameter parameter_;
    std::vector<char> record_;
};

void expectKept(OneValue value, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        EXPECT_TRUE(value.takes(text)) << text << ": " << value.why;
        EXPECT_EQ(value.text(), text);
        EXPECT_TRUE(value.valid());
        EXPECT_TRUE(value.neighboursUntouched());
    }
}

void expectRefused(OneValue value, const std::vector<std::string>& texts, const std::string& why) {
    const std::string before = value.text();
    for (const std::string& text : texts) {
        EXPECT_FALSE(value.takes(text)) << text;
        EXPECT_EQ(value.why, why);
        EXPECT_EQ(value.text(), before) << text;
        EXPECT_TRUE(value.neighboursUntouched());
    }
}

const char* kTimeWhy = "Value takes a time (2026-01-31T23:59:59Z), or nothing";

}  // namespace

TEST(ModelValue, Boolean) {
    expectKept(OneValue(Kind::Bool, 1), {"true", "false"});
    expectRefused(OneValue(Kind::Bool, 1), {"", "2", "TRUE", "yes", " 1", "true "}, "Value takes true or false");
}

TEST(ModelValue, BooleanIsGivenAs0Or1Too) {
    OneValue value(Kind::Bool, 1);
    EXPECT_TRUE(value.takes("1"));
    EXPECT_EQ(value.text(), "true");
    EXPECT_TRUE(value.takes("0"));
    EXPECT_EQ(value.text(), "false");
}

TEST(ModelValue, BooleanByteIs0Or1) {
    OneValue value(Kind::Bool, 1);
    *value.bytes() = 2;
    EXPECT_FALSE(value.valid());
}

TEST(ModelValue, Int) {
    expectKept(OneValue(Kind::Int, 4), {"0", "-1", "2147483647", "-2147483648"});
    expectRefused(OneValue(Kind::Int, 4),
                  {"", "-", "2147483648", "-2147483649", "1.5", "0x10", " 1", "1 ", "+1", "one"},
                  "Value takes a number from -2147483648 to 2147483647");
}

TEST(ModelValue, Uint) {
    expectKept(OneValue(Kind::Uint, 4), {"0", "4294967295"});
    expectRefused(OneValue(Kind::Uint, 4), {"", "-1", "4294967296", "99999999999999999999", "1e3"},
                  "Value takes a number from 0 to 4294967295");
}

TEST(ModelValue, Long) {
    expectKept(OneValue(Kind::Long, 8), {"0", "9223372036854775807", "-9223372036854775808"});
    expectRefused(OneValue(Kind::Long, 8), {"9223372036854775808", "x"},
                  "Value takes a number from -9223372036854775808 to 9223372036854775807");
}

TEST(ModelValue, Ulong) {
    expectKept(OneValue(Kind::Ulong, 8), {"0", "18446744073709551615"});
    expectRefused(OneValue(Kind::Ulong, 8), {"-1", "18446744073709551616"},
                  "Value takes a number from 0 to 18446744073709551615");
}

TEST(ModelValue, Text) {
    expectKept(OneValue(Kind::Text, 5), {"", "a", "abcd", "\xc3\xa4\n\x7f"});
    expectRefused(OneValue(Kind::Text, 5), {"abcde", std::string("a\0b", 3)},
                  "Value takes a text of at most 4 characters");
}

TEST(ModelValue, TextIsUtf8) {
    const std::vector<std::string> bad = {"\xff",     "\x80",         "a\xc3",        "\xc3(",           "\xc0\x80",
                                          "\xe2\x82", "\xe0\x80\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80"};
    expectKept(OneValue(Kind::Text, 9), {"\xc3\xa4", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "\xf4\x8f\xbf\xbf"});
    expectRefused(OneValue(Kind::Text, 9), bad, "Value takes UTF-8");
    for (const std::string& text : bad) {
        OneValue value(Kind::Text, 9);
        std::memcpy(value.bytes(), text.data(), text.size());
        EXPECT_FALSE(value.valid()) << text;
        EXPECT_EQ(value.why, "Value takes UTF-8");
    }
}

TEST(ModelValue, AShorterTextClearsWhatWasBehindIt) {
    OneValue value(Kind::Text, 5);
    value.takes("abcd");
    value.takes("x");
    EXPECT_EQ(std::string(value.bytes(), 5), std::string("x\0\0\0\0", 5));
}

TEST(ModelValue, ATextIsTerminated) {
    OneValue value(Kind::Text, 5);
    std::memcpy(value.bytes(), "abcde", 5);
    EXPECT_FALSE(value.valid());
    EXPECT_EQ(value.text(), "abcde");
}

TEST(ModelValue, Choice) {
    expectKept(OneValue(Kind::Enum, 17, "Up,Down,Van Jacobson"), {"Up", "Down", "Van Jacobson", ""});
    expectRefused(OneValue(Kind::Enum, 17, "Up,Down"), {"up", "Up,Down", "U", "Upp", ",", " Up"},
                  "Value takes one of Up,Down, or nothing");
}

TEST(ModelValue, Ipv4Address) {
    expectKept(OneValue(Kind::Ipv4, 16), {"", "0.0.0.0", "255.255.255.255", "192.0.2.1"});
    expectRefused(OneValue(Kind::Ipv4, 16),
                  {"256.0.0.1", "1.2.3", "1.2.3.4.5", "::1", "1.2.3.4 ", "host", "1.2.3.4/24"},
                  "Value takes an IPv4 address, or nothing");
}

TEST(ModelValue, Ipv6Address) {
    expectKept(OneValue(Kind::Ipv6, 46), {"", "::", "2001:db8::1", "fe80::1:2:3:4", "::ffff:192.0.2.1",
                                          "ABCD:EF01:2345:6789:ABCD:EF01:192.168.100.200"});
    expectRefused(OneValue(Kind::Ipv6, 46), {"192.0.2.1", "2001:db8::1%eth0", ":::", "2001:db8::1/64", "g::"},
                  "Value takes an IPv6 address, or nothing");
}

TEST(ModelValue, IpAddressOfEitherKind) {
    expectKept(OneValue(Kind::Ip, 46), {"", "192.0.2.1", "2001:db8::1"});
    expectRefused(OneValue(Kind::Ip, 46), {"name.example", "1.2.3", ":"},
                  "Value takes an IPv4 or IPv6 address, or nothing");
}

TEST(ModelValue, Ipv6Prefix) {
    expectKept(OneValue(Kind::Ipv6Prefix, 50), {"", "::/0", "2001:db8::/56", "2001:db8::1/128"});
    expectRefused(OneValue(Kind::Ipv6Prefix, 50),
                  {"2001:db8::", "2001:db8::/", "2001:db8::/129", "2001:db8::/-1", "2001:db8::/056", "/64",
                   "10.0.0.0/8", "2001:db8::/64/64", "2001:db8::/6x", "2001:db8::/4294967360"},
                  "Value takes an IPv6 prefix (address/0..128), or nothing");
}

TEST(ModelValue, MacAddress) {
    expectKept(OneValue(Kind::Mac, 18), {"", "00:11:22:aa:BB:ff"});
    expectRefused(OneValue(Kind::Mac, 18),
                  {"00-11-22-aa-bb-cc", "00:11:22:aa:bb", "00:11:22:aa:bb:c", "00:11:22:aa:bb:cg", "001122aabbcc"},
                  "Value takes a MAC address (00:11:22:aa:bb:cc), or nothing");
}

TEST(ModelValue, Time) {
    expectKept(OneValue(Kind::Time, 32),
               {"", "0001-01-01T00:00:00Z", "9999-12-31T23:59:59Z", "2026-01-31T01:02:03.456789Z",
                "2024-02-29T00:00:00Z", "2026-01-31T01:02:03+08:00"});
    expectRefused(
        OneValue(Kind::Time, 32),
        {"2026-01-31", "2026-01-31T01:02:03", "2026-01-31 01:02:03Z", "2026-13-01T00:00:00Z", "2026-02-29T00:00:00Z",
         "2026-01-31T24:00:00Z", "2026-01-31T00:60:00Z", "2026-01-31T00:00:60Z", "2026-01-31T00:00:00.Z",
         "2026-01-31T00:00:00z", "2026-01-31T00:00:00+8", "2026-01-00T00:00:00Z", "now", "T"},
        kTimeWhy);
}

TEST(ModelValue, ASubnetMaskHasNoHoles) {
    const OneValue mask(Kind::Ipv4, 16, "", "DestSubnetMask");
    expectKept(mask, {"", "0.0.0.0", "128.0.0.0", "255.255.255.0", "255.255.255.254", "255.255.255.255"});
    expectRefused(mask, {"255.0.255.0", "0.255.255.255", "255.255.255.1", "192.0.2.1", "255.255.255", "mask"},
                  "DestSubnetMask takes a subnet mask without holes (255.255.255.0), or nothing");
}

TEST(ModelValue, ASecretIsNotWhatItIsShownAs) {
    const OneValue secret(Kind::Text, 33, "", "Password", vcfg::model::Access::SECRET);
    expectKept(secret, {"", "hunter2", "*******", "*********"});
    expectRefused(secret, {"********"}, "Password takes the secret itself, not what it is shown as");
    expectKept(OneValue(Kind::Text, 33), {"********"});
}

TEST(ModelValue, ARefusalNeedsNoReason) {
    const vcfg::model::Object& object = *vcfg::model::find(RDM_OID_IP_IFACE);
    std::vector<char> record(object.size);
    EXPECT_FALSE(setValue(*find(object, "Status"), record.data(), "Sideways", nullptr));
}
