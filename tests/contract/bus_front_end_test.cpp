// The front end against a vcmd that says what the test wants.
#include <json-c/json.h>

#include "bus_world.h"
#include "client/fe_client.h"
#include "client/fe_wire.h"

namespace {

using vcfg::wire::answerTo;

struct Scripted {
    int code = VCFG_OK;
    objIndex iid{};
    std::string body;
};
using Script = std::function<Scripted(const vcfg_msg_t&)>;

// An endpoint 1 that answers by the script.
std::function<void(const Process::Ready&)> vcmd(const Script& script) {
    return [=](const Process::Ready& ready) {
        vcfg_msg_eidInit(VCFG_EID_VCMD, "vcmd");
        vcfg_msg_serverInit();
        ready();
        for (Message request = receive(0); request != nullptr; request = receive(0)) {
            const Scripted scripted = script(*request);
            Message reply = newMessage(answerTo(request->type), scripted.body, request->srcEid, request->requestId);
            reply->statCode = static_cast<uint32_t>(scripted.code);
            reply->objIid = scripted.iid;
            vcfg_msg_serverSend(reply.release());
        }
    };
}

template <class Type>
std::string bytesOf(const Type& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

class BusFrontEnd : public BusWorld {
  protected:
    int set() {
        const IpInterface record{};
        const objIndex iid{1, {3}};
        return vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, &record, nullptr);
    }
};

TEST_F(BusFrontEnd, RefusedWriteReturnsTheCodeAndLogsTheReason) {
    const Process server(vcmd([](const vcfg_msg_t&) {
        return Scripted{VCFG_ERR_INVALID, {}, std::string("Status: no such value\0", 22)};
    }));
    const IpInterface record{};
    const objIndex iid{1, {3}};
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, &record, nullptr));
    EXPECT_NE(std::string::npos, logged().find("Status: no such value"));
}

TEST_F(BusFrontEnd, WritesCarryTheWholeRecordAndTheirKind) {
    const Process server(vcmd([](const vcfg_msg_t& request) {
        const bool whole = request.length == sizeof(IpInterface);
        return Scripted{whole ? static_cast<int>(request.type & 0xF) : VCFG_ERR_FAIL, {}, ""};
    }));
    const IpInterface record{};
    const objIndex iid{1, {3}};
    EXPECT_EQ(6, vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, &record, nullptr));
    EXPECT_EQ(7, vcfgFeObjStructSetWithoutApply(RDM_OID_IP_IFACE, &iid, &record, nullptr));
    EXPECT_EQ(8, vcfgFeObjStructBlockedSet(RDM_OID_IP_IFACE, &iid, &record, nullptr));
}

TEST_F(BusFrontEnd, JsonWritesCarryTheRequestTypeAndTheText) {
    const Process server(vcmd([](const vcfg_msg_t& request) {
        const vcfg::wire::WriteHeader header{VCFG_FE_WRITE_NO_APPLY};
        const std::string expected = bytesOf(header) + R"({"Enable":true})" + std::string(1, '\0');
        const std::string arrived(vcfg_msg_text(&request), request.length);
        return Scripted{arrived == expected ? VCFG_OK : VCFG_ERR_FAIL, {}, ""};
    }));
    const objIndex iid{1, {3}};
    EXPECT_EQ(VCFG_OK, vcfgFeObjWrite(RDM_OID_IP_IFACE, &iid, R"({"Enable":true})", VCFG_FE_WRITE_NO_APPLY, nullptr));
    json_object* json = json_tokener_parse(R"({"Enable":true})");
    EXPECT_EQ(VCFG_OK, vcfgFeObjJsonSetWithAdditions(RDM_OID_IP_IFACE, &iid, json, 0, VCFG_FE_WRITE_NO_APPLY, nullptr));
    json_object_put(json);
}

TEST_F(BusFrontEnd, AddedInstanceIsWrittenToTheCaller) {
    const Process server(vcmd([](const vcfg_msg_t& request) {
        return Scripted{request.objIid.level == 1 ? VCFG_OK : VCFG_ERR_FAIL, {2, {3, 7}}, ""};
    }));
    objIndex iid{1, {3}};
    ASSERT_EQ(VCFG_OK, vcfgFeObjStructAdd(RDM_OID_IP_IFACE_V4_ADDR, &iid, nullptr));
    EXPECT_EQ(2, iid.level);
    EXPECT_EQ(7, iid.idx[1]);
}

TEST_F(BusFrontEnd, NullArgumentsAndUnknownObjectsAreRefused) {
    objIndex iid{};
    void* record = nullptr;
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructGet(RDM_OID_IP_IFACE, nullptr, &record));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructGet(RDM_OID_IP_IFACE, &iid, nullptr));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructGet(RDM_OID_COUNT, &iid, &record));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructSet(RDM_OID_IP_IFACE, &iid, nullptr, nullptr));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjWrite(RDM_OID_IP_IFACE, &iid, nullptr, VCFG_FE_WRITE_APPLY, nullptr));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructAdd(RDM_OID_IP_IFACE, nullptr, nullptr));
    EXPECT_EQ(VCFG_ERR_INVALID, vcfgFeObjStructDel(RDM_OID_IP_IFACE, nullptr, nullptr));
}

TEST_F(BusFrontEnd, WritesFailWithACodeWhileVcmdIsAwayAndWorkAgainAfter) {
    const auto willing = vcmd([](const vcfg_msg_t& request) { return Scripted{VCFG_OK, request.objIid, ""}; });
    EXPECT_EQ(VCFG_ERR_NO_PEER, set());
    {
        const Process server(willing);
        EXPECT_EQ(VCFG_OK, set());
    }
    EXPECT_EQ(VCFG_ERR_NO_PEER, set());
    const Process server(willing);
    EXPECT_EQ(VCFG_OK, set());
}

TEST_F(BusFrontEnd, LossOfVcmdEndsTheCall) {
    const Process server(vcmd([](const vcfg_msg_t&) -> Scripted { _exit(0); }));
    EXPECT_EQ(VCFG_ERR_NO_PEER, set());
}

}  // namespace
