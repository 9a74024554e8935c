// Which instances exist: adding, numbering, removing, iterating.
#include <gtest/gtest.h>

#include "inproc_fe.h"

TEST(Inproc, SetMakesMissingInstances) {
    inproc::reset();
    EXPECT_EQ(inproc::set("IP.Interface.3.IPv4Address.1.IPAddress", "192.0.2.1"), "");
    EXPECT_EQ(inproc::get("IP.Interface.3.IPv4Address.1.IPAddress"), "192.0.2.1");
    EXPECT_EQ(inproc::get("IP.Interface.3.IPv4AddressNumberOfEntries"), "1");
    EXPECT_TRUE(inproc::exists("IP.Interface.3"));
}
