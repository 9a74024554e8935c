// What every user of the front end relies on when it writes.
#include <json-c/json.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "records.h"

namespace {

class FeWrite : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add<IpInterface>();
    }
    Owned<IpInterface> stored() const { return read<IpInterface>(at(1)); }
};
class FeApply : public FeWrite {};
class FeJson : public FeWrite {};
class FeInstances : public World {};

using Applied = std::vector<std::string>;

// Each of the three whole-record writes refuses the record and leaves everything as it was.
template <class T>
void expectRefused(const objIndex& iid, const T& record) {
    EXPECT_NE(set(iid, record), 0);
    EXPECT_NE(publish(iid, record), 0);
    EXPECT_NE(setAndWait(iid, record), 0);
}

int writeJson(const objIndex& iid, json_object* json, uint32_t type) {
    return vcfgFeObjJsonSetWithAdditions(RDM_OID_IP_IFACE, &iid, json, 0, type, nullptr);
}

}  // namespace

TEST_F(FeWrite, EachWriteWritesTheWholeRecord) {
    using Write = int (*)(uint32_t, const objIndex*, const void*, void*);
    for (const Write write : {vcfgFeObjStructSet, vcfgFeObjStructSetWithoutApply, vcfgFeObjStructBlockedSet}) {
        const objIndex iid = add<IpInterface>();
        const auto record = read<IpInterface>(iid);
        record->Enable = 1;
        record->Status = "Up";
        record->MaxMTUSize = 1492;
        ASSERT_EQ(write(RDM_OID_IP_IFACE, &iid, record.get(), nullptr), 0);
        const auto written = read<IpInterface>(iid);
        EXPECT_EQ(written->Enable, 1);
        EXPECT_EQ(written->Status, "Up");
        EXPECT_EQ(written->MaxMTUSize, 1492u);
    }
}

TEST_F(FeWrite, TheRecordStaysTheCallers) {
    const auto record = stored();
    record->Alias = "mine";
    ASSERT_EQ(set(at(1), *record), 0);
    EXPECT_EQ(record->Alias, "mine");
    record->Alias = "scribbled";
    EXPECT_EQ(stored()->Alias, "mine");
}

TEST_F(FeWrite, ABadValueRefusesTheWholeRecord) {
    const auto record = stored();
    record->Alias = "half";
    record->Status = "Sideways";
    expectRefused(at(1), *record);
    EXPECT_EQ(stored()->Alias, "");
    EXPECT_EQ(stored()->Status, "Down");
}

TEST_F(FeWrite, ABooleanOtherThan0And1IsRefused) {
    const auto record = stored();
    record->Enable = 2;
    expectRefused(at(1), *record);
}

TEST_F(FeWrite, ATextWithoutEndIsRefused) {
    const auto record = stored();
    ASSERT_NE(record, nullptr);
    std::memset(record->Alias.bytes, 'x', sizeof record->Alias.bytes);
    expectRefused(at(1), *record);
    EXPECT_EQ(stored()->Alias, "");
}

TEST_F(FeWrite, ATextThatIsNoUtf8IsRefused) {
    const auto record = stored();
    record->Alias = "gr\xfc\xdf";
    expectRefused(at(1), *record);
    EXPECT_EQ(stored()->Alias, "");
    record->Alias = "gr\xc3\xbc\xc3\x9f";
    EXPECT_EQ(set(at(1), *record), 0);
}

TEST_F(FeWrite, AnAddressThatIsNoneIsRefused) {
    add<IpInterfaceIpv4Address>(at(1));
    const auto record = read<IpInterfaceIpv4Address>(at(1, 1));
    record->IPAddress = "300.1.2.3";
    expectRefused(at(1, 1), *record);
    EXPECT_EQ(read<IpInterfaceIpv4Address>(at(1, 1))->IPAddress, "");
}

TEST_F(FeWrite, AnEmptyAddressIsTaken) {
    add<IpInterfaceIpv4Address>(at(1));
    EXPECT_EQ(publish(at(1, 1), *read<IpInterfaceIpv4Address>(at(1, 1))), 0);
}

TEST_F(FeWrite, AnInstanceThatDoesNotExistIsNotMade) {
    const auto record = stored();
    expectRefused(at(2), *record);
    expectRefused(at(), *record);
    expectRefused(at(1, 1), *record);
    EXPECT_FALSE(read<IpInterface>(at(2)));
}

TEST_F(FeWrite, AnUnknownObjectFails) {
    const auto record = stored();
    const objIndex iid = at(1);
    EXPECT_NE(vcfgFeObjStructSet(RDM_OID_COUNT, &iid, record.get(), nullptr), 0);
    EXPECT_NE(vcfgFeObjStructSet(RDM_OID_NONE, &iid, record.get(), nullptr), 0);
    EXPECT_NE(vcfgFeObjWrite(RDM_OID_COUNT, &iid, "{}", VCFG_FE_WRITE_APPLY, nullptr), 0);
    EXPECT_NE(vcfgFeObjStructDel(RDM_OID_COUNT, &iid, nullptr), 0);
}

TEST_F(FeWrite, MissingArgumentsFail) {
    const auto record = stored();
    const objIndex iid = at(1);
    EXPECT_NE(vcfgFeObjStructSet(RDM_OID_IP_IFACE, nullptr, record.get(), nullptr), 0);
    EXPECT_NE(vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, nullptr, nullptr), 0);
    EXPECT_NE(vcfgFeObjStructAdd(RDM_OID_IP_IFACE, nullptr, nullptr), 0);
    EXPECT_NE(vcfgFeObjStructDel(RDM_OID_IP_IFACE, nullptr, nullptr), 0);
    EXPECT_NE(vcfgFeObjWrite(RDM_OID_IP_IFACE, nullptr, "{}", VCFG_FE_WRITE_APPLY, nullptr), 0);
    EXPECT_NE(vcfgFeObjWrite(RDM_OID_IP_IFACE, &iid, nullptr, VCFG_FE_WRITE_APPLY, nullptr), 0);
    EXPECT_NE(writeJson(iid, nullptr, VCFG_FE_WRITE_APPLY), 0);
}

TEST_F(FeWrite, ManyThreadsMayCallAtOnce) {
    constexpr uint8_t kThreads = 4;
    constexpr uint32_t kRounds = 25;
    while (!read<IpInterface>(at(kThreads))) {
        add<IpInterface>();
    }
    std::vector<std::thread> threads;
    for (uint8_t own = 1; own <= kThreads; ++own) {
        threads.emplace_back([own] {
            for (uint32_t round = 1; round <= kRounds; ++round) {
                const auto record = read<IpInterface>(at(own), vcfgFeObjStructGet);
                ASSERT_TRUE(record);
                EXPECT_EQ(record->LastChange, round - 1);
                record->LastChange = round;
                EXPECT_EQ(publish(at(own), *record), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (uint8_t own = 1; own <= kThreads; ++own) {
        EXPECT_EQ(read<IpInterface>(at(own))->LastChange, kRounds);
    }
}

TEST_F(FeApply, SetLetsTheOwnerApply) {
    ownerApplies("IP.Interface.{i}");
    ASSERT_EQ(set(at(1), *stored()), 0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.1"}));
}

TEST_F(FeApply, BlockedSetReturnsWhenTheOwnerHasApplied) {
    ownerApplies("IP.Interface.{i}");
    ASSERT_EQ(setAndWait(at(1), *stored()), 0);
    EXPECT_EQ(applied(0), (Applied{"set IP.Interface.1"}));
}

TEST_F(FeApply, SetWithoutApplyAppliesNothing) {
    add<IpInterface>();
    ownerApplies("IP.Interface.{i}");
    ASSERT_EQ(publish(at(1), *stored()), 0);
    ASSERT_EQ(setAndWait(at(2), *stored()), 0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.2"}));
}

TEST_F(FeApply, WhatTheOwnerFailsToApplyFailsAndStaysWritten) {
    ownerRefuses("IP.Interface.{i}");
    const auto record = stored();
    record->Alias = "kept";
    EXPECT_NE(setAndWait(at(1), *record), 0);
    EXPECT_EQ(stored()->Alias, "kept");
}

TEST_F(FeApply, ARefusedWriteIsNotApplied) {
    ownerApplies("IP.Interface.{i}");
    const auto record = stored();
    record->Status = "Sideways";
    expectRefused(at(1), *record);
    ASSERT_EQ(setAndWait(at(1), *stored()), 0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.1"}));
}

TEST_F(FeApply, AnObjectWithoutOwnerIsWrittenAllTheSame) {
    EXPECT_EQ(set(at(1), *stored()), 0);
    EXPECT_EQ(setAndWait(at(1), *stored()), 0);
}

TEST_F(FeApply, TheRequestTypeOfAJsonWriteSaysWhetherToApply) {
    ownerApplies("IP.Interface.{i}");
    ASSERT_EQ(write<IpInterface>(at(1), R"({"Enable":true})", VCFG_FE_WRITE_NO_APPLY), 0);
    ASSERT_EQ(write<IpInterface>(at(1), R"({"Enable":false})", VCFG_FE_WRITE_APPLY), 0);
    EXPECT_EQ(applied(1), (Applied{"set IP.Interface.1"}));
}

TEST_F(FeJson, WritesTheParametersItNamesAndKeepsTheOthers) {
    const auto record = stored();
    record->Alias = "kept";
    publish(at(1), *record);
    ASSERT_EQ(write<IpInterface>(at(1), R"({"Enable":true,"Status":"Up","LastChange":17})"), 0);
    const auto written = stored();
    EXPECT_EQ(written->Enable, 1);
    EXPECT_EQ(written->Status, "Up");
    EXPECT_EQ(written->LastChange, 17u);
    EXPECT_EQ(written->Alias, "kept");
}

TEST_F(FeJson, NumbersAndBooleansMayBeTexts) {
    ASSERT_EQ(write<IpInterface>(at(1), R"({"Enable":"true","LastChange":"17"})"), 0);
    EXPECT_EQ(stored()->Enable, 1);
    EXPECT_EQ(stored()->LastChange, 17u);
}

TEST_F(FeJson, OneBadParameterRefusesAll) {
    const std::string longAlias = "{\"Enable\":true,\"Alias\":\"" + std::string(65, 'a') + "\"}";
    for (const char* bad :
         {R"({"Enable":true,"Bogus":1})", R"({"Enable":true,"Status":"Sideways"})",
          R"({"Enable":true,"LastChange":-1})", R"({"Enable":true,"LastChange":"soon"})",
          R"({"Enable":true,"Alias":5})", R"({"Enable":true,"Alias":null})", R"({"Enable":true,"Alias":{}})",
          "{\"Enable\":true,\"Alias\":\"gr\xfc\xdf\"}", longAlias.c_str()}) {
        EXPECT_NE(write<IpInterface>(at(1), bad), 0) << bad;
        EXPECT_EQ(stored()->Enable, 0) << bad;
    }
}

TEST_F(FeJson, WhatIsNoJsonObjectIsRefused) {
    const std::string deep(10000, '[');
    std::string nested;
    for (int i = 0; i < 5000; ++i) {
        nested += "{\"a\":";
    }
    for (const char* bad : {"", "{", "[]", "5", "null", "\"Enable\"", "{\"Enable\":true", "{\"Enable\":true}{}",
                            "nonsense", deep.c_str(), nested.c_str()}) {
        EXPECT_NE(write<IpInterface>(at(1), bad), 0) << std::string(bad).substr(0, 40);
    }
    EXPECT_EQ(stored()->Enable, 0);
}

TEST_F(FeJson, ATextLongerThanAMessageIsRefused) {
    const std::string huge = "{\"Alias\":\"" + std::string(70000, 'a') + "\"}";
    EXPECT_NE(write<IpInterface>(at(1), huge.c_str()), 0);
    EXPECT_EQ(stored()->Alias, "");
}

TEST_F(FeJson, AnInstanceThatDoesNotExistFails) {
    EXPECT_NE(write<IpInterface>(at(2), R"({"Enable":true})"), 0);
    EXPECT_NE(write<IpInterface>(at(), R"({"Enable":true})"), 0);
}

TEST_F(FeJson, AJsonObjectIsWrittenAndStaysTheCallers) {
    json_object* json = json_object_new_object();
    json_object_object_add(json, "Alias", json_object_new_string("wan"));
    json_object_object_add(json, "LastChange", json_object_new_int(5));
    EXPECT_EQ(writeJson(at(1), json, VCFG_FE_WRITE_NO_APPLY), 0);
    EXPECT_STREQ(json_object_to_json_string_ext(json, JSON_C_TO_STRING_PLAIN), R"({"Alias":"wan","LastChange":5})");
    EXPECT_EQ(json_object_put(json), 1);
    EXPECT_EQ(stored()->Alias, "wan");
    EXPECT_EQ(stored()->LastChange, 5u);
}

TEST_F(FeJson, ABadJsonObjectIsRefused) {
    json_object* json = json_object_new_array();
    EXPECT_NE(writeJson(at(1), json, VCFG_FE_WRITE_APPLY), 0);
    json_object_put(json);
}

TEST_F(FeInstances, AddAnswersTheNewInstanceOneLevelDown) {
    EXPECT_EQ(text(add<IpInterface>()), "1:1");
    EXPECT_EQ(text(add<IpInterface>()), "1:2");
    EXPECT_EQ(text(add<IpInterfaceIpv4Address>(at(2))), "2:2.1");
    EXPECT_TRUE(read<IpInterfaceIpv4Address>(at(2, 1)));
}

TEST_F(FeInstances, AddBelowAMissingParentFails) {
    objIndex parent = at(1);
    EXPECT_NE(vcfgFeObjStructAdd(RDM_OID_IP_IFACE_V4_ADDR, &parent, nullptr), 0);
    EXPECT_FALSE(read<IpInterfaceIpv4Address>(at(1, 1)));
}

TEST_F(FeInstances, AddTakesTheParentsLevel) {
    add<IpInterface>();
    for (objIndex wrong : {at(1), at(1, 1), objIndex{255, {1, 1, 1, 1, 1, 1}}}) {
        EXPECT_NE(vcfgFeObjStructAdd(RDM_OID_IP_IFACE, &wrong, nullptr), 0);
    }
    EXPECT_FALSE(read<IpInterface>(at(2)));
}

TEST_F(FeInstances, ASingleObjectIsNeitherAddedNorDeleted) {
    objIndex iid{};
    EXPECT_NE(vcfgFeObjStructAdd(RDM_OID_DNS_CLIENT, &iid, nullptr), 0);
    EXPECT_NE(vcfgFeObjStructDel(RDM_OID_DNS_CLIENT, &iid, nullptr), 0);
    EXPECT_TRUE(read<DnsClient>(at()));
}

TEST_F(FeInstances, ATableHolds255) {
    for (int i = 0; i < 255; ++i) {
        add<MailEvent>();
    }
    objIndex iid{};
    EXPECT_NE(vcfgFeObjStructAdd(RDM_OID_MAIL_EVENT, &iid, nullptr), 0);
}

TEST_F(FeInstances, ADeletedInstanceIsGoneWithAllBelowIt) {
    add<IpInterface>();
    add<IpInterfaceIpv4Address>(at(1));
    ASSERT_EQ(remove<IpInterface>(at(1)), 0);
    EXPECT_FALSE(read<IpInterface>(at(1)));
    EXPECT_FALSE(read<IpInterfaceIpv4Address>(at(1, 1)));
    EXPECT_NE(remove<IpInterface>(at(1)), 0);
}

TEST_F(FeInstances, TablesAreCounted) {
    add<IpInterface>();
    add<IpInterfaceIpv4Address>(at(1));
    add<IpInterfaceIpv4Address>(at(1));
    EXPECT_EQ(read<IpInterface>(at(1))->IPv4AddressNumberOfEntries, 2u);
    remove<IpInterfaceIpv4Address>(at(1, 1));
    EXPECT_EQ(read<IpInterface>(at(1))->IPv4AddressNumberOfEntries, 1u);
}
