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

TEST_F(StoreWatch, LoadingTellsWhatDiffers) {
    write(store, "DHCPv4.Client.1", R"({"Alias":"old","Enable":true})");
    add(store, "DHCPv4.Client.1.ReqOption");
    add(store, "DHCPv4.Client");
    lines.clear();
    const char* const model = R"({"version":1,"objects":{"DHCPv4.Client.1":{"Alias":"new","Enable":true},)"
                              R"("DHCPv4.Client.3":{"Alias":"three"}}})";
    EXPECT_EQ(store.fromText(model, vcfg::store::What::All, vcfg::store::Unknown::Refuse, nullptr, nullptr), VCFG_OK);
    EXPECT_EQ(lines, (Lines{"DHCPv4.Client.1.ReqOption.1:  -> -", "DHCPv4.Client.2:  -> -",
                            "DHCPv4.Client.1.Alias: old -> new", "DHCPv4.Client.1.ReqOptionNumberOfEntries: 1 -> 0",
                            "DHCPv4.Client.3: - -> ", "DHCPv4.Client.3.Alias:  -> three"}));
}

TEST_F(StoreWatch, AModelThatIsRefusedIsNotTold) {
    const char* const model = R"({"version":1,"objects":{"DHCPv4.Client.2":{},"DHCPv4.Client.3":{"Bogus":1}}})";
    EXPECT_NE(store.fromText(model, vcfg::store::What::All, vcfg::store::Unknown::Refuse, nullptr, nullptr), VCFG_OK);
    EXPECT_EQ(lines, Lines{});
}

TEST_F(StoreWatch, AJoinedChangeIsToldWhenAllOfItIsMade) {
    const auto both = [this](const char* status) {
        return store.change(nullptr, [this, status] {
            write(store, "DHCPv4.Client.1", R"({"Alias":"wan"})");
            EXPECT_EQ(lines, Lines{});
            return write(store, "DHCPv4.Client.1", status).empty() ? VCFG_OK : VCFG_ERR_INVALID;
        });
    };
    EXPECT_NE(both(R"({"DHCPStatus":"Lost"})"), VCFG_OK);
    EXPECT_EQ(lines, Lines{});
    EXPECT_EQ(both(R"({"DHCPStatus":"Bound"})"), VCFG_OK);
    EXPECT_EQ(lines, (Lines{"DHCPv4.Client.1.Alias:  -> wan", "DHCPv4.Client.1.DHCPStatus:  -> Bound"}));
}
