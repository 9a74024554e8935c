// The schema of the library, and who serves it according to a vcmd that says what the test wants.
#include <vcfg/schema.h>

#include <cstddef>
#include <cstring>
#include <map>

#include "bus_world.h"
#include "client/fe_wire.h"

namespace {

struct Found {
    int code = VCFG_ERR_FAIL;
    vcfg_schema_object_t object{};
    objIndex iid{};
    vcfg_schema_parameter_t parameter{};
};

Found find(const char* path) {
    Found found;
    found.code = vcfgSchemaFind(path, &found.object, &found.iid, &found.parameter);
    return found;
}

std::vector<std::string> allPaths() {
    std::vector<std::string> paths;
    vcfg_schema_object_t object;
    for (uint32_t oid = RDM_OID_NONE; vcfgSchemaObjectGetNext(&oid, &object) == VCFG_OK;) {
        EXPECT_EQ(oid, object.oid);
        paths.emplace_back(object.path);
    }
    return paths;
}

TEST(Schema, ParameterIsDescribedWithTypeLengthValuesAccessAndDefault) {
    const Found found = find("IP.Interface.3.Status");
    ASSERT_EQ(found.code, VCFG_OK);
    EXPECT_STREQ(found.parameter.name, "Status");
    EXPECT_EQ(found.parameter.type, VCFG_TYPE_ENUMERATION);
    EXPECT_EQ(found.parameter.maxLength, 16u);
    EXPECT_STREQ(found.parameter.values, "Up,Down,Unknown,Dormant,NotPresent,LowerLayerDown,Error");
    EXPECT_STREQ(found.parameter.dflt, "Down");
    EXPECT_EQ(found.parameter.isWritable, 0);
    EXPECT_EQ(found.parameter.isKept, 0);
    EXPECT_EQ(found.parameter.isSecret, 0);
    EXPECT_EQ(found.parameter.offset, offsetof(IpInterface, Status));
}

TEST(Schema, NumbersHaveARangeAndNoLength) {
    const Found unsignedNumber = find("IP.Interface.1.MaxMTUSize");
    EXPECT_EQ(unsignedNumber.parameter.min, 0);
    EXPECT_EQ(unsignedNumber.parameter.max, UINT32_MAX);
    EXPECT_EQ(unsignedNumber.parameter.maxLength, 0u);
    const Found number = find("IP.Interface.1.X_VORAN_6RD_LeaseTime");
    EXPECT_EQ(number.parameter.type, VCFG_TYPE_LONG);
    EXPECT_EQ(number.parameter.min, INT64_MIN);
    EXPECT_EQ(number.parameter.max, static_cast<uint64_t>(INT64_MAX));
}

TEST(Schema, BooleansDefaultIsAWordAndTheyMayBeWritable) {
    const Found found = find("IP.Interface.1.Enable");
    EXPECT_EQ(found.parameter.type, VCFG_TYPE_BOOLEAN);
    EXPECT_STREQ(found.parameter.dflt, "false");
    EXPECT_EQ(found.parameter.isWritable, 1);
}

TEST(Schema, ConfigurationIsKeptAndSoIsReadOnlyIdentity) {
    for (const char* path : {"IP.Interface.1.Enable", "DeviceInfo.FirstUseDate", "PPP.Interface.1.Password"}) {
        EXPECT_EQ(find(path).parameter.isKept, 1) << path;
    }
    EXPECT_EQ(find("DeviceInfo.FirstUseDate").parameter.isWritable, 0);
}

TEST(Schema, SecretIsMarkedAndWritable) {
    const Found found = find("PPP.Interface.1.Password");
    EXPECT_EQ(found.parameter.isSecret, 1);
    EXPECT_EQ(found.parameter.isWritable, 1);
    EXPECT_EQ(find("PPP.Interface.1.Username").parameter.isSecret, 0);
}

TEST(Schema, CountIsNotKeptAndNamesItsTable) {
    const Found found = find("IP.Interface.1.IPv4AddressNumberOfEntries");
    EXPECT_EQ(found.parameter.countedOid, uint32_t{RDM_OID_IP_IFACE_V4_ADDR});
    EXPECT_EQ(found.parameter.isKept, 0);
}

TEST(Schema, ObjectIsDescribedWithItsRecordAndParent) {
    const Found found = find("IP.Interface.3.IPv4Address.1");
    ASSERT_EQ(found.code, VCFG_OK);
    EXPECT_EQ(found.parameter.name, nullptr);
    EXPECT_EQ(found.object.oid, uint32_t{RDM_OID_IP_IFACE_V4_ADDR});
    EXPECT_EQ(found.object.parentOid, uint32_t{RDM_OID_IP_IFACE});
    EXPECT_STREQ(found.object.path, "IP.Interface.{i}.IPv4Address.{i}");
    EXPECT_STREQ(found.object.record, "IpInterfaceIpv4Address");
    EXPECT_EQ(found.object.recordSize, sizeof(IpInterfaceIpv4Address));
    EXPECT_EQ(found.object.depth, 2);
    EXPECT_EQ(found.object.isTable, 1);
}

TEST(Schema, NumbersBracesAndStarsNameTheSame) {
    for (const char* path : {"IP.Interface.7.Status", "IP.Interface.{i}.Status", "IP.Interface.*.Status",
                             "Device.IP.Interface.7.Status"}) {
        const Found found = find(path);
        ASSERT_EQ(found.code, VCFG_OK) << path;
        EXPECT_STREQ(found.parameter.name, "Status") << path;
        EXPECT_EQ(found.iid.level, 1) << path;
        EXPECT_EQ(found.iid.idx[0], strchr(path, '7') != nullptr ? 7 : 0) << path;
    }
}

TEST(Schema, TableMayLackItsLastNumberAndObjectsMayEndInADot) {
    for (const char* path : {"IP.Interface", "IP.Interface.", "Device.IP.Interface.{i}."}) {
        const Found found = find(path);
        ASSERT_EQ(found.code, VCFG_OK) << path;
        EXPECT_EQ(found.object.oid, uint32_t{RDM_OID_IP_IFACE}) << path;
    }
    EXPECT_EQ(find("IP.Interface").iid.level, 0);
}

TEST(Schema, WhatTheModelDoesNotHaveIsNotFound) {
    const std::string endless(100000, '.');
    for (const char* path :
         {"", ".", "Device.", "Device.Device.IP", "IP.Interface.0.Status", "IP.Interface.256", "IP.Interface.01",
          "IP.Interface.1.Status.", "IP.Interface.1.Status.x", "IP.Interface.1.Colour", "IP..Interface",
          "IP.Interface.99999999999999999999", "DHCPv4", "ip", endless.c_str()}) {
        EXPECT_EQ(find(path).code, VCFG_ERR_NOT_FOUND) << path;
    }
}

TEST(Schema, ObjectsComeInTreeOrderAndAllOfThem) {
    const std::vector<std::string> paths = allPaths();
    ASSERT_EQ(paths.size(), size_t{RDM_OID_COUNT - 1});
    std::map<std::string, size_t> closed;  // the last place of every subtree so far
    for (size_t at = 0; at < paths.size(); ++at) {
        for (size_t dot = paths[at].find('.'); dot != std::string::npos; dot = paths[at].find('.', dot + 1)) {
            const auto [above, isNew] = closed.emplace(paths[at].substr(0, dot), at);
            EXPECT_TRUE(isNew || above->second + 1 == at || above->second == at) << paths[at];
            above->second = at;
        }
        EXPECT_TRUE(closed.emplace(paths[at], at).second) << paths[at] << " stands behind what lies below it";
    }
}

TEST(Schema, WalkEndsBehindTheLastAndForUnknownObjects) {
    vcfg_schema_object_t object;
    uint32_t oid = RDM_OID_COUNT;
    EXPECT_EQ(vcfgSchemaObjectGetNext(&oid, &object), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(oid, uint32_t{RDM_OID_COUNT});
    EXPECT_EQ(vcfgSchemaObjectGet(RDM_OID_NONE, &object), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(vcfgSchemaObjectGet(UINT32_MAX, &object), VCFG_ERR_NOT_FOUND);
}

TEST(Schema, EveryParameterIsFoundAgainByItsPathAndTakesItsDefault) {
    vcfg_schema_object_t object;
    for (uint32_t oid = RDM_OID_NONE; vcfgSchemaObjectGetNext(&oid, &object) == VCFG_OK;) {
        vcfg_schema_parameter_t parameter;
        uint32_t count = 0;
        for (; vcfgSchemaParameterGet(oid, count, &parameter) == VCFG_OK; ++count) {
            const Found found = find((std::string(object.path) + "." + parameter.name).c_str());
            ASSERT_EQ(found.code, VCFG_OK) << object.path << " " << parameter.name;
            EXPECT_EQ(found.object.oid, oid);
            EXPECT_STREQ(found.parameter.name, parameter.name);
            const int code = vcfgSchemaValueCheck(oid, parameter.name, parameter.dflt, nullptr, 0);
            EXPECT_EQ(code, parameter.countedOid == RDM_OID_NONE ? VCFG_OK : VCFG_ERR_INVALID)
                << object.path << " " << parameter.name;
        }
        EXPECT_EQ(count, object.parameterCount) << object.path;
    }
}

TEST(Schema, PathTextFillsTheNumbersIn) {
    char text[512];
    const objIndex both{2, {3, 255}};
    ASSERT_EQ(vcfgSchemaPathText(RDM_OID_IP_IFACE_V4_ADDR, &both, text, sizeof text), VCFG_OK);
    EXPECT_STREQ(text, "IP.Interface.3.IPv4Address.255");
    const objIndex first{1, {3}};
    ASSERT_EQ(vcfgSchemaPathText(RDM_OID_IP_IFACE_V4_ADDR, &first, text, sizeof text), VCFG_OK);
    EXPECT_STREQ(text, "IP.Interface.3.IPv4Address.{i}");
    ASSERT_EQ(vcfgSchemaPathText(RDM_OID_IP_IFACE_V4_ADDR, nullptr, text, sizeof text), VCFG_OK);
    EXPECT_STREQ(text, "IP.Interface.{i}.IPv4Address.{i}");
}

TEST(Schema, PathTextRefusesWhatIsNoInstanceAndWhatDoesNotFit) {
    char text[8] = "before";
    const objIndex tooDeep{3, {1, 1, 1}};
    const objIndex none{1, {0}};
    const objIndex damaged{255, {1, 1, 1, 1, 1, 1}};
    for (const objIndex& iid : {tooDeep, none, damaged}) {
        EXPECT_EQ(vcfgSchemaPathText(RDM_OID_IP_IFACE_V4_ADDR, &iid, text, sizeof text), VCFG_ERR_INVALID);
    }
    EXPECT_EQ(vcfgSchemaPathText(RDM_OID_IP_IFACE, nullptr, text, sizeof text), VCFG_ERR_FULL);
    EXPECT_EQ(vcfgSchemaPathText(RDM_OID_IP, nullptr, text, 2), VCFG_ERR_FULL);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(vcfgSchemaPathText(RDM_OID_IP, nullptr, text, 3), VCFG_OK);
}

TEST(Schema, ValueCheckSaysWhatWouldBeAccepted) {
    char why[100] = "untouched";
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP_IFACE, "MaxMTUSize", "1500", why, sizeof why), VCFG_OK);
    EXPECT_STREQ(why, "untouched");
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP_IFACE, "MaxMTUSize", "-1", why, sizeof why), VCFG_ERR_INVALID);
    EXPECT_NE(strstr(why, "0 to 4294967295"), nullptr) << why;
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP_IFACE, "IPv4AddressNumberOfEntries", "1", why, 12), VCFG_ERR_INVALID);
    EXPECT_STREQ(why, "is counted,");
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP_IFACE, "Colour", "red", why, sizeof why), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_NONE, "Colour", "red", why, sizeof why), VCFG_ERR_NOT_FOUND);
}

TEST(Schema, NullArgumentsAreRefused) {
    vcfg_schema_object_t object;
    vcfg_schema_parameter_t parameter;
    uint32_t oid = RDM_OID_NONE;
    EXPECT_EQ(vcfgSchemaObjectGet(RDM_OID_IP, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaObjectGetNext(nullptr, &object), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaObjectGetNext(&oid, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaParameterGet(RDM_OID_IP, 0, nullptr), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaFind(nullptr, &object, nullptr, &parameter), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaFind("IP", nullptr, nullptr, &parameter), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaFind("IP", &object, nullptr, nullptr), VCFG_OK);
    EXPECT_EQ(vcfgSchemaPathText(RDM_OID_IP, nullptr, nullptr, 0), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP, nullptr, "", nullptr, 0), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaValueCheck(RDM_OID_IP, "IPv4Enable", nullptr, nullptr, 0), VCFG_ERR_INVALID);
    EXPECT_EQ(vcfgSchemaServiceGet(RDM_OID_IP, nullptr), VCFG_ERR_INVALID);
}

class SchemaService : public BusWorld {
  protected:
    // What becomes of a vcmd's answer with that body.
    int askAbout(const std::string& body, int32_t statCode = VCFG_OK) {
        const Process vcmd([&](const Process::Ready& ready) {
            vcfg_msg_eidInit(VCFG_EID_VCMD, "vcmd");
            vcfg_msg_serverInit();
            ready();
            const Message request = receive(0);
            Message reply = newMessage(vcfg::wire::answerTo(request->type), body, request->srcEid, request->requestId);
            reply->statCode = static_cast<uint32_t>(statCode);
            vcfg_msg_serverSend(reply.release());
            receive(0);
        });
        vcfg_schema_service_t* found = nullptr;
        const int code = vcfgSchemaServiceGet(RDM_OID_IP, &found);
        service.reset(found);
        return code;
    }
    std::unique_ptr<vcfg_schema_service_t, FreeBytes> service;
};

TEST_F(SchemaService, AnswerIsOneBlockWithItsTexts) {
    ASSERT_EQ(askAbout(std::string("\x11\x11\x11\x11/hooks/apply/IP\0\0", 21)), VCFG_OK);
    EXPECT_EQ(service->process, 0x11111111);
    EXPECT_EQ(service->eid, VCFG_EID_VCMD);
    EXPECT_STREQ(service->applyHook, "/hooks/apply/IP");
    EXPECT_EQ(service->refreshHook, nullptr);
}

TEST_F(SchemaService, AnswerThatIsNotWholeIsRefused) {
    for (const std::string& body :
         {std::string(), std::string("\1\0\0\0", 4), std::string("\1\0\0\0a", 5), std::string("\1\0\0\0a\0b", 7),
          std::string("\1\0\0\0a\0", 6), std::string("\1\0\0\0a\0b\0c\0", 10)}) {
        EXPECT_EQ(askAbout(body), VCFG_ERR_FAIL) << body.size();
        EXPECT_EQ(service, nullptr);
    }
}

TEST_F(SchemaService, RefusalsCodeComesThrough) {
    EXPECT_EQ(askAbout("no such request", VCFG_ERR_INVALID), VCFG_ERR_INVALID);
    EXPECT_EQ(service, nullptr);
}

TEST_F(SchemaService, NobodyAnswersWithoutVcmdAndUnknownObjectsAreNotAsked) {
    vcfg_schema_service_t* found = nullptr;
    EXPECT_EQ(vcfgSchemaServiceGet(RDM_OID_IP, &found), VCFG_ERR_NO_PEER);
    EXPECT_EQ(vcfgSchemaServiceGet(RDM_OID_COUNT, &found), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(found, nullptr);
}

}  // namespace
