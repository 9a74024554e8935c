// Writing records and parameters: whole or not at all.
#include <gtest/gtest.h>

#include <cstring>

#include "store_support.h"

namespace {

constexpr objIndex kFirst = {1, {1, 0, 0, 0, 0, 0}};

class StoreWrite : public testing::Test {
  protected:
    StoreWrite() {
        make(store, "IP.Interface.1");
        const void* found = nullptr;
        EXPECT_EQ(store.get(RDM_OID_IP_IFACE, kFirst, &found), VCFG_OK);
        std::memcpy(static_cast<void*>(&record), found, sizeof record);
    }
    int set() { return store.set(RDM_OID_IP_IFACE, kFirst, std::as_bytes(std::span(&record, 1)), &why); }

    Store store;
    IpInterface record;
    std::string why;
};

}  // namespace

TEST_F(StoreWrite, ARecordIsWrittenWhole) {
    record.Enable = 1;
    record.Status = "Up";
    record.Alias = "wan";
    ASSERT_EQ(set(), VCFG_OK) << why;
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Up");
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "wan");
}

TEST_F(StoreWrite, OneBadValueRefusesTheWholeRecord) {
    record.Alias = "wan";
    record.Status = "Sideways";
    EXPECT_EQ(set(), VCFG_ERR_INVALID);
    EXPECT_EQ(why, "Status takes one of Up,Down,Unknown,Dormant,NotPresent,LowerLayerDown,Error, or nothing");
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Down");
}

TEST_F(StoreWrite, ABooleanOtherThan0And1IsRefused) {
    record.Enable = 2;
    EXPECT_EQ(set(), VCFG_ERR_INVALID);
    EXPECT_EQ(why, "Enable takes true or false");
}

TEST_F(StoreWrite, ATextWithoutEndIsRefused) {
    std::memset(record.Alias.bytes, 'a', sizeof record.Alias.bytes);
    EXPECT_EQ(set(), VCFG_ERR_INVALID);
    EXPECT_EQ(why, "Alias takes a text of at most 64 characters");
}

TEST_F(StoreWrite, ARecordOfAnotherSizeIsRefused) {
    const auto bytes = std::as_bytes(std::span(&record, 1));
    EXPECT_EQ(store.set(RDM_OID_IP_IFACE, kFirst, bytes.first(bytes.size() - 1), &why), VCFG_ERR_INVALID);
    EXPECT_EQ(store.set(RDM_OID_IP_IFACE, kFirst, {}, &why), VCFG_ERR_INVALID);
    EXPECT_EQ(why, "IP.Interface.{i} takes a record of " + std::to_string(sizeof record) + " bytes");
}

TEST_F(StoreWrite, AnInstanceThatDoesNotExistIsNotMade) {
    EXPECT_EQ(store.set(RDM_OID_IP_IFACE, objIndex{1, {2, 0, 0, 0, 0, 0}}, std::as_bytes(std::span(&record, 1)), &why),
              VCFG_ERR_NOT_FOUND);
    EXPECT_FALSE(has(store, "IP.Interface.2"));
    EXPECT_EQ(why, "no such instance");
}

TEST_F(StoreWrite, AnIdOfAnotherLevelIsRefused) {
    const auto bytes = std::as_bytes(std::span(&record, 1));
    EXPECT_EQ(store.set(RDM_OID_IP_IFACE, objIndex{}, bytes, &why), VCFG_ERR_INVALID);
    EXPECT_EQ(store.set(RDM_OID_IP_IFACE, objIndex{2, {1, 1, 0, 0, 0, 0}}, bytes, &why), VCFG_ERR_INVALID);
    EXPECT_EQ(why, "IP.Interface.{i} takes instance numbers: 1");
}

TEST_F(StoreWrite, CountersInARecordAreNotLookedAt) {
    record.IPv4AddressNumberOfEntries = 77;
    ASSERT_EQ(set(), VCFG_OK);
    EXPECT_EQ(value(store, "IP.Interface.1.IPv4AddressNumberOfEntries"), "0");
}

TEST_F(StoreWrite, WhatLiesBehindATextsEndIsNotKept) {
    std::memcpy(record.Alias.bytes, "ab\0secret", 9);
    ASSERT_EQ(set(), VCFG_OK);
    const void* found = nullptr;
    store.get(RDM_OID_IP_IFACE, kFirst, &found);
    EXPECT_EQ(static_cast<const IpInterface*>(found)->Alias.bytes[3], '\0');
}

TEST_F(StoreWrite, AWriteWithoutChangeKeepsTheRevision) {
    const uint32_t revision = store.revision();
    ASSERT_EQ(set(), VCFG_OK);
    EXPECT_EQ(store.revision(), revision);
    record.Enable = 1;
    ASSERT_EQ(set(), VCFG_OK);
    EXPECT_NE(store.revision(), revision);
}

TEST_F(StoreWrite, JsonWritesTheParametersItNames) {
    record.Alias = "kept";
    set();
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"Enable":true,"Status":"Up","LastChange":17})"), "");
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Up");
    EXPECT_EQ(value(store, "IP.Interface.1.LastChange"), "17");
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "kept");
}

TEST_F(StoreWrite, JsonTakesNumbersAndBooleansAsText) {
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"Enable":"1","LastChange":"17","Reset":1})"), "");
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.Reset"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.LastChange"), "17");
}

TEST_F(StoreWrite, JsonIsWrittenWholeOrNotAtAll) {
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"Enable":true,"Nonsense":1})"), "there is no parameter Nonsense");
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"Enable":true,"LastChange":"soon"})"),
              "LastChange takes a number from 0 to 4294967295");
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "false");
}

TEST_F(StoreWrite, JsonOfTheWrongTypeIsRefused) {
    for (const char* bad :
         {R"({"Alias":5})", R"({"Alias":true})", R"({"Alias":null})", R"({"Alias":["a"]})", R"({"Alias":{"a":1}})"}) {
        EXPECT_EQ(write(store, "IP.Interface.1", bad), "Alias takes a text") << bad;
    }
    for (const char* bad : {R"({"Enable":2})", R"({"Enable":1.0})", R"({"Enable":null})", R"({"Enable":[]})"}) {
        EXPECT_EQ(write(store, "IP.Interface.1", bad), "Enable takes true or false") << bad;
    }
    for (const char* bad :
         {R"({"LastChange":-1})", R"({"LastChange":1.5})", R"({"LastChange":true})", R"({"LastChange":4294967296})",
          R"({"LastChange":99999999999999999999})", R"({"LastChange":null})", R"({"LastChange":{}})"}) {
        EXPECT_EQ(write(store, "IP.Interface.1", bad), "LastChange takes a number from 0 to 4294967295") << bad;
    }
}

TEST_F(StoreWrite, JsonTextsThatAreTooLongOrHoldANulAreRefused) {
    const std::string longText(65, 'a');
    EXPECT_EQ(write(store, "IP.Interface.1", "{\"Alias\":\"" + longText + "\"}"),
              "Alias takes a text of at most 64 characters");
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"Alias":"a\u0000b"})"), "Alias takes a text of at most 64 characters");
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "");
}

TEST_F(StoreWrite, JsonDoesNotWriteCounters) {
    EXPECT_EQ(write(store, "IP.Interface.1", R"({"IPv4AddressNumberOfEntries":3})"),
              "IPv4AddressNumberOfEntries is counted and takes no value");
}

TEST_F(StoreWrite, OnlyOneJsonObjectIsParsed) {
    for (const char* bad : {"", "{", "[]", "5", "null", "{} {}", "{}x", "{\"a\":}", "nonsense"}) {
        std::string reason;
        EXPECT_EQ(vcfg::store::parseObject(bad, &reason), nullptr) << bad;
        EXPECT_FALSE(reason.empty()) << bad;
    }
    EXPECT_NE(vcfg::store::parseObject(" {\"a\":1} \n", nullptr), nullptr);
}

TEST_F(StoreWrite, DeepJsonIsRefused) {
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        deep += "{\"a\":";
    }
    EXPECT_EQ(vcfg::store::parseObject(deep, nullptr), nullptr);
    EXPECT_EQ(vcfg::store::parseObject(std::string(10000, '['), nullptr), nullptr);
}

TEST_F(StoreWrite, EveryParameterComesBackFromItsJson) {
    for (const vcfg::model::Object& object : vcfg::model::objects()) {
        std::vector<char> original(object.size);
        std::vector<char> copy(object.size);
        vcfg::model::setDefaults(object, original.data());
        for (const auto& parameter : object.parameters) {
            setValue(parameter, original.data(), "1", nullptr);
            const JsonPtr json = vcfg::store::recordJson(object, original.data());
            json_object* one = nullptr;
            ASSERT_TRUE(json_object_object_get_ex(json.get(), parameter.name, &one)) << parameter.name;
            EXPECT_TRUE(vcfg::store::setJson(parameter, copy.data(), one, nullptr)) << parameter.name;
        }
        EXPECT_EQ(original, copy) << object.pattern;
    }
}
