// What every user of the front end relies on when it changes several objects at once.
#include <string>
#include <vector>

#include "records.h"

namespace {

using Applied = std::vector<std::string>;

constexpr uint32_t kAddress = RDM_OID_IP_IFACE_V4_ADDR;

vcfg_step_t writing(uint32_t oid, const objIndex& iid, const char* json) {
    return {VCFG_STEP_WRITE, oid, iid, json};
}
vcfg_step_t adding(uint32_t oid, const objIndex& parent, const char* json = nullptr) {
    return {VCFG_STEP_ADD, oid, parent, json};
}
vcfg_step_t deleting(uint32_t oid, const objIndex& iid) {
    return {VCFG_STEP_DELETE, oid, iid, nullptr};
}

class FeChange : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add<IpInterface>();
        add<IpInterface>();
    }
    int change(std::vector<vcfg_step_t> wanted, uint32_t type = VCFG_FE_WRITE_NO_APPLY) {
        steps = std::move(wanted);
        return vcfgFeObjChange(steps.data(), steps.size(), type, nullptr);
    }
    static std::string alias(uint8_t interface) { return read<IpInterface>(at(interface))->Alias.c_str(); }

    std::vector<vcfg_step_t> steps;
};

}  // namespace

TEST_F(FeChange, AllStepsAreMade) {
    ASSERT_EQ(change({writing(RDM_OID_IP_IFACE, at(1), R"({"Alias":"one"})"),
                      writing(RDM_OID_IP_IFACE, at(2), R"({"Alias":"two"})"), adding(RDM_OID_PPP_IFACE, at())}),
              0);
    EXPECT_EQ(alias(1), "one");
    EXPECT_EQ(alias(2), "two");
    EXPECT_TRUE(read<PppInterface>(at(1)));
    EXPECT_EQ(text(steps[2].iid), "1:1");
}

TEST_F(FeChange, OneRefusedStepRefusesAll) {
    for (const vcfg_step_t& bad :
         {writing(RDM_OID_IP_IFACE, at(2), R"({"Status":"Sideways"})"), writing(RDM_OID_IP_IFACE, at(7), "{}"),
          writing(RDM_OID_IP_IFACE, at(), "{}"), adding(RDM_OID_DNS_CLIENT, at()), deleting(RDM_OID_IP_IFACE, at(9)),
          adding(RDM_OID_PPP_IFACE, at(), R"({"Bogus":1})")}) {
        EXPECT_NE(change({writing(RDM_OID_IP_IFACE, at(1), R"({"Alias":"one"})"), adding(RDM_OID_PPP_IFACE, at()),
                          deleting(RDM_OID_IP_IFACE, at(2)), bad}),
                  0);
        EXPECT_EQ(alias(1), "");
        EXPECT_TRUE(read<IpInterface>(at(2)));
        EXPECT_FALSE(read<PppInterface>(at(1)));
    }
}

TEST_F(FeChange, AnInstanceComesWithItsValuesAndWithWhatLiesBelowIt) {
    ASSERT_EQ(change({adding(RDM_OID_IP_IFACE, at(), R"({"Alias":"new"})"),
                      adding(kAddress, at(0), R"({"IPAddress":"192.0.2.7"})"),
                      writing(RDM_OID_IP_IFACE, at(0), R"({"Enable":true})"),
                      writing(kAddress, at(0, 0), R"({"Enable":true})")}),
              0);
    EXPECT_EQ(alias(3), "new");
    EXPECT_EQ(read<IpInterface>(at(3))->Enable, 1);
    EXPECT_EQ(read<IpInterfaceIpv4Address>(at(3, 1))->IPAddress, "192.0.2.7");
    EXPECT_EQ(read<IpInterfaceIpv4Address>(at(3, 1))->Enable, 1);
    EXPECT_EQ(text(steps[3].iid), "2:3.1");
}

TEST_F(FeChange, TheNumberOfAnAddedInstanceIsThatOfItsOwnTable) {
    ASSERT_EQ(change({adding(RDM_OID_IP_IFACE, at()), adding(RDM_OID_PPP_IFACE, at()),
                      writing(RDM_OID_IP_IFACE, at(0), R"({"Alias":"three"})"),
                      writing(RDM_OID_PPP_IFACE, at(0), R"({"Alias":"first"})")}),
              0);
    EXPECT_EQ(alias(3), "three");
    EXPECT_EQ(read<PppInterface>(at(1))->Alias, "first");
}

TEST_F(FeChange, ASingleObjectOfAnAddedInstanceIsWrittenWithIt) {
    ASSERT_EQ(change({adding(RDM_OID_PPP_IFACE, at()), writing(RDM_OID_PPP_IFACE_PPPOE, at(0), R"({"ACName":"ac"})")}),
              0);
    EXPECT_EQ(read<PppInterfacePppoe>(at(1))->ACName, "ac");
}

TEST_F(FeChange, EachStepSeesThoseBeforeIt) {
    ASSERT_EQ(change({deleting(RDM_OID_IP_IFACE, at(2)), adding(RDM_OID_IP_IFACE, at(), R"({"Alias":"again"})"),
                      deleting(RDM_OID_IP_IFACE, at(1))}),
              0);
    EXPECT_EQ(alias(2), "again");
    EXPECT_FALSE(read<IpInterface>(at(1)));
}

TEST_F(FeChange, OwnersApplyEachInstanceOnceInTheOrderOfTheFirstWrite) {
    ownerApplies("IP.Interface.{i}");
    ownerApplies("PPP.Interface.{i}");
    ASSERT_EQ(change({writing(RDM_OID_IP_IFACE, at(2), "{}"), adding(RDM_OID_PPP_IFACE, at()),
                      writing(RDM_OID_IP_IFACE, at(1), "{}"), writing(RDM_OID_IP_IFACE, at(2), R"({"Enable":true})"),
                      writing(RDM_OID_PPP_IFACE, at(1), "{}")},
                     VCFG_FE_WRITE_AND_WAIT),
              0);
    EXPECT_EQ(applied(3), (Applied{"set IP.Interface.2", "add PPP.Interface.1", "set IP.Interface.1"}));
}

TEST_F(FeChange, WhatIsDeletedIsAppliedTheDeepestFirst) {
    add<IpInterfaceIpv4Address>(at(1));
    ownerApplies("IP.Interface.{i}");
    ownerApplies("IP.Interface.{i}.IPv4Address.{i}");
    ASSERT_EQ(
        change({writing(RDM_OID_IP_IFACE, at(1), "{}"), deleting(RDM_OID_IP_IFACE, at(1))}, VCFG_FE_WRITE_AND_WAIT), 0);
    EXPECT_EQ(applied(2), (Applied{"del IP.Interface.1.IPv4Address.1", "del IP.Interface.1"}));
}

TEST_F(FeChange, WhatComesAndGoesIsNotApplied) {
    ownerApplies("IP.Interface.{i}");
    ownerApplies("PPP.Interface.{i}");
    ownerApplies("PPP.Interface.{i}.PPPoE");
    ASSERT_EQ(change({adding(RDM_OID_PPP_IFACE, at(), R"({"Alias":"short"})"),
                      writing(RDM_OID_PPP_IFACE_PPPOE, at(0), R"({"ACName":"ac"})"), deleting(RDM_OID_PPP_IFACE, at(0)),
                      writing(RDM_OID_IP_IFACE, at(1), "{}")},
                     VCFG_FE_WRITE_AND_WAIT),
              0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.1"}));
}

TEST_F(FeChange, WithoutApplyNobodyIsAsked) {
    ownerApplies("IP.Interface.{i}");
    ASSERT_EQ(change({writing(RDM_OID_IP_IFACE, at(1), R"({"Alias":"one"})")}), 0);
    ASSERT_EQ(change({writing(RDM_OID_IP_IFACE, at(2), "{}")}, VCFG_FE_WRITE_AND_WAIT), 0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.2"}));
}

TEST_F(FeChange, AFailedApplyIsAFailureForWhoWaitsAndTheValuesStay) {
    ownerRefuses("IP.Interface.{i}");
    ownerApplies("PPP.Interface.{i}");
    const std::vector<vcfg_step_t> wanted = {writing(RDM_OID_IP_IFACE, at(1), R"({"Alias":"one"})"),
                                             adding(RDM_OID_PPP_IFACE, at())};
    EXPECT_NE(change(wanted, VCFG_FE_WRITE_AND_WAIT), 0);
    EXPECT_EQ(applied(2), (Applied{"set IP.Interface.1", "add PPP.Interface.1"}));
    EXPECT_EQ(alias(1), "one");
    EXPECT_EQ(change(wanted, VCFG_FE_WRITE_APPLY), 0);
}

TEST_F(FeChange, NoStepIsNoChange) {
    EXPECT_EQ(vcfgFeObjChange(nullptr, 0, VCFG_FE_WRITE_APPLY, nullptr), 0);
}
