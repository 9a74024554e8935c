// What the store tells whoever watches it.
#include <gtest/gtest.h>

#include <vector>

#include "store_support.h"

namespace {

std::string line(const Change& change) {
    return change.path + ": " + change.before.value_or("-") + " -> " + change.after.value_or("-");
}

class StoreWatch : public testing::Test {
  protected:
    StoreWatch() {
        make(store, "DHCPv4.Client.1");
        store.watch([this](const Change& change) { lines.push_back(line(change)); });
    }
    Store store;
    std::vector<std::string> lines;
};

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(StoreWatch, EachChangedParameterIsToldWithBothValues) {
    write(store, "DHCPv4.Client.1", R"({"Enable":true,"DHCPStatus":"Bound","Alias":""})");
    EXPECT_EQ(lines, (Lines{"DHCPv4.Client.1.Enable: false -> true", "DHCPv4.Client.1.DHCPStatus:  -> Bound"}));
}

TEST_F(StoreWatch, ARefusedWriteIsNotTold) {
    write(store, "DHCPv4.Client.1", R"({"Enable":true,"DHCPStatus":"Lost"})");
    EXPECT_EQ(lines, Lines{});
}

TEST_F(StoreWatch, AddingTellsTheInstanceAndTheCount) {
    add(store, "DHCPv4.Client.1.ReqOption");
    EXPECT_EQ(lines, (Lines{"DHCPv4.Client.1.ReqOption.1: - -> ", "DHCPv4.Client.1.ReqOptionNumberOfEntries: 0 -> 1"}));
}

TEST_F(StoreWatch, RemovingTellsTheInstanceAndTheCount) {
    add(store, "DHCPv4.Client.1.ReqOption");
    lines.clear();
    drop(store, "DHCPv4.Client.1.ReqOption.1");
    EXPECT_EQ(lines, (Lines{"DHCPv4.Client.1.ReqOption.1:  -> -", "DHCPv4.Client.1.ReqOptionNumberOfEntries: 1 -> 0"}));
}

TEST_F(StoreWatch, TheNewValueIsThereWhenItIsTold) {
    std::string seen;
    store.watch([&](const Change&) { seen = value(store, "DHCPv4.Client.1.Alias"); });
    write(store, "DHCPv4.Client.1", R"({"Alias":"wan"})");
    EXPECT_EQ(seen, "wan");
}
