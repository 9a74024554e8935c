// What vcmd does on the bus besides serving the front end: announcements, notices, watchers, bad requests.
#include <json-c/json.h>
#include <signal.h>
#include <vcfg/msg_types.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "client/bus_client.h"
#include "client/bus_server.h"
#include "vcmd_kit.h"

namespace wire = vcfg::wire;
namespace bus = vcfg::bus;

namespace {

constexpr int kPatienceMs = 20000;

std::unique_ptr<bus::Server> serve(uint8_t eid) {
    int code = VCFG_ERR_FAIL;
    auto server = bus::Server::open(eid, &code);
    EXPECT_EQ(code, VCFG_OK);
    return server;
}

bus::MessagePtr received(bus::Server& server, int timeoutMs = kPatienceMs) {
    int code = VCFG_OK;
    return server.wait(timeoutMs, nullptr, &code);
}

// A round trip through vcmd's loop: what it had to send before, it has sent.
void settle() {
    EXPECT_EQ(ask(wire::kPing).code, VCFG_OK);
}

std::string memberOf(const std::string& line, const char* name) {
    json_object* object = json_tokener_parse(line.c_str());
    json_object* value = nullptr;
    const bool there = json_object_object_get_ex(object, name, &value);
    std::string text = !there ? "(missing)" : value == nullptr ? "(null)" : json_object_get_string(value);
    json_object_put(object);
    return text;
}

class VcmdOnTheBus : public ::testing::Test {
  protected:
    void SetUp() override { vcmd.start(); }
    Vcmd vcmd;
};

// The next lines of news on this thread's watch.
std::vector<std::string> news(size_t count) {
    std::vector<std::string> lines;
    const vcfg::Deadline deadline = vcfg::Deadline::in(kPatienceMs);
    while (lines.size() < count) {
        bus::MessagePtr message;
        if (bus::nextFrom(VCFG_EID_VCMD, deadline, &message) != VCFG_OK) {
            break;
        }
        EXPECT_EQ(message->type, static_cast<uint32_t>(wire::kChange));
        std::istringstream text(vcfg_msg_text(message.get()));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
    }
    EXPECT_EQ(lines.size(), count);
    lines.resize(count);
    return lines;
}

}  // namespace

TEST_F(VcmdOnTheBus, StartUpCompletionIsAnnouncedOncePerAppearance) {
    for (int restart = 0; restart < 3; ++restart) {
        const auto daemon = serve(VCFG_EID_TARN);
        const bus::MessagePtr message = received(*daemon);
        ASSERT_NE(message, nullptr) << "appearance " << restart << " is not noticed";
        EXPECT_EQ(message->type, VCFG_MSG_INIT_DATAMODEL_FIN);
        EXPECT_EQ(message->length, 0);
        EXPECT_EQ(message->srcEid, VCFG_EID_VCMD);
        EXPECT_EQ(message->dstEid, VCFG_EID_TARN);
        settle();
        EXPECT_EQ(received(*daemon, 50), nullptr) << "it is announced twice";
    }
}

TEST_F(VcmdOnTheBus, ADaemonThatIsThereBeforeVcmdHearsOfItToo) {
    vcmd.stop();
    const auto daemon = serve(VCFG_EID_TARN);
    vcmd.start();
    const bus::MessagePtr message = received(*daemon);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->type, VCFG_MSG_INIT_DATAMODEL_FIN);
}

TEST_F(VcmdOnTheBus, ATakeoverOfTheDaemonsEndpointIsAnAppearance) {
    const auto first = serve(VCFG_EID_TARN);
    ASSERT_NE(received(*first), nullptr);
    const auto second = serve(VCFG_EID_TARN);
    ASSERT_NE(received(*second), nullptr);
}

vcfg_msg_t* completionNotice(uint8_t from) {
    auto* notice = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + 1));
    notice->type = VCFG_MSG_INIT_DATAMODEL_FIN;
    notice->srcEid = from;
    notice->dstEid = VCFG_EID_VCMD;
    notice->requestId = 4711;
    return notice;
}

void sayStartUpIsCompleted(uint8_t from) {
    vcfg_msg_t* reply = nullptr;
    ASSERT_EQ(vcfg_msg_sendAndGetReply(completionNotice(from), &reply, kPatienceMs), VCFG_OK);
    free(reply);
}

bool hasStarted() {
    const vcfg::Answer answer = ask(wire::kStartUp);
    wire::StartUpHeader header{-1};
    EXPECT_EQ(answer.body.size(), sizeof header);
    memcpy(&header, answer.body.data(), std::min(answer.body.size(), sizeof header));
    EXPECT_TRUE(header.completed == 0 || header.completed == 1) << header.completed;
    return header.completed == 1;
}

TEST_F(VcmdOnTheBus, StartUpIsCompletedWhenTheDaemonSaysSo) {
    EXPECT_FALSE(hasStarted());
    const auto daemon = serve(VCFG_EID_TARN);
    EXPECT_FALSE(hasStarted());
    sayStartUpIsCompleted(VCFG_EID_TARN_GROUND);
    EXPECT_FALSE(hasStarted()) << "by another endpoint's notice";
    sayStartUpIsCompleted(VCFG_EID_TARN);
    EXPECT_TRUE(hasStarted());
}

TEST_F(VcmdOnTheBus, ANewDaemonHasItsOwnStartUpToComplete) {
    const auto first = serve(VCFG_EID_TARN);
    sayStartUpIsCompleted(VCFG_EID_TARN);
    ASSERT_TRUE(hasStarted());
    const auto second = serve(VCFG_EID_TARN);
    EXPECT_FALSE(hasStarted());
}

TEST_F(VcmdOnTheBus, TheDaemonsCompletionNoticeIsAnswered) {
    vcfg_msg_t* const notice = completionNotice(VCFG_EID_TARN);
    vcfg_msg_t* reply = nullptr;
    ASSERT_EQ(vcfg_msg_sendAndGetReply(notice, &reply, kPatienceMs), VCFG_OK);
    EXPECT_EQ(reply->requestId, 4711u);
    EXPECT_EQ(reply->length, 3);
    EXPECT_STREQ(vcfg_msg_text(reply), "OK");
    free(reply);
}

TEST_F(VcmdOnTheBus, ARemovedSocketIsMadeAnew) {
    std::filesystem::remove(vcmd.path("run/eid-1"));
    EXPECT_TRUE(eventually([&] { return vcmd.answers(); })) << vcmd.log();
}

TEST_F(VcmdOnTheBus, APlainFileInTheSocketsPlaceDoesNotEndIt) {
    std::ofstream(vcmd.path("plain")) << "no socket";
    std::filesystem::rename(vcmd.path("plain"), vcmd.path("run/eid-1"));
    EXPECT_TRUE(eventually([&] { return vcmd.answers(); })) << vcmd.log();
    EXPECT_EQ(vcmd.logged("this one ends"), 0u) << vcmd.log();
}

TEST_F(VcmdOnTheBus, UserSignalsAreIgnored) {
    for (const int signal : {SIGUSR1, SIGUSR2}) {
        ASSERT_EQ(::kill(vcmd.pid(), signal), 0);
        EXPECT_TRUE(vcmd.answers());
    }
}

TEST_F(VcmdOnTheBus, AMarkedManageableDeviceIsDeletedWithinTheWrite) {
    const char* const marked = R"({"Alias":"MGAB_DEV_DELETE","SerialNumber":"7"})";
    for (const uint32_t type : {VCFG_FE_WRITE_APPLY, VCFG_FE_WRITE_NO_APPLY, uint32_t{wire::kWriteAndWait}}) {
        addInstance(RDM_OID_MANAGEABLE_DEVICE);
        const objIndex device = addInstance(RDM_OID_MANAGEABLE_DEVICE);
        EXPECT_EQ(writeJson(RDM_OID_MANAGEABLE_DEVICE, device, marked, type), VCFG_OK);
        EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_MANAGEABLE_DEVICE, device), VCFG_ERR_NOT_FOUND);
        EXPECT_EQ(vcmd.savedFile().find("MGAB"), std::string::npos);
        const objIndex other = iid({1});
        EXPECT_EQ(record<ManageableDevice>(other).Alias, "");
        EXPECT_EQ(ask(wire::kDelete, RDM_OID_MANAGEABLE_DEVICE, other).code, VCFG_OK);
    }
}

TEST_F(VcmdOnTheBus, AMarkInARecordCountsAndOtherTextsDoNot) {
    const objIndex device = addInstance(RDM_OID_MANAGEABLE_DEVICE);
    ManageableDevice entry = record<ManageableDevice>(device);
    const auto set = [&](uint32_t request, const char* alias) {
        entry.Alias = alias;
        const std::string bytes(reinterpret_cast<const char*>(&entry), sizeof entry);
        return ask(request, RDM_OID_MANAGEABLE_DEVICE, device, bytes).code;
    };
    for (const char* other : {"mgab_dev_delete", "MGAB_DEV_DELETE ", "MGAB_DEV_DELETED", ""}) {
        EXPECT_EQ(set(wire::kSetAndWait, other), VCFG_OK);
        EXPECT_EQ(record<ManageableDevice>(device).Alias, other);
    }
    EXPECT_EQ(set(wire::kSetNoApply, "MGAB_DEV_DELETE"), VCFG_OK);
    EXPECT_EQ(set(wire::kSetNoApply, "MGAB_DEV_DELETE"), VCFG_ERR_NOT_FOUND);
}

TEST_F(VcmdOnTheBus, ADeletedDevicesHookSeesItGo) {
    vcmd.hook("apply", "ManagementServer.ManageableDevice.{i}", "echo $1 $2 >>applied");
    const objIndex device = addInstance(RDM_OID_MANAGEABLE_DEVICE);
    EXPECT_EQ(writeJson(RDM_OID_MANAGEABLE_DEVICE, device, R"({"Alias":"MGAB_DEV_DELETE"})", wire::kWriteAndWait),
              VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"),
              "add ManagementServer.ManageableDevice.1\ndel ManagementServer.ManageableDevice.1\n");
}

TEST_F(VcmdOnTheBus, AChangedLogLevelIsToldToTheDaemon) {
    const auto daemon = serve(VCFG_EID_TARN);
    ASSERT_NE(received(*daemon), nullptr);
    const objIndex entry = addInstance(RDM_OID_DEBUG_LOG);
    EXPECT_EQ(writeJson(RDM_OID_DEBUG_LOG, entry, R"({"Daemon":"tarn","Level":7})"), VCFG_OK);
    const bus::MessagePtr message = received(*daemon);
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->type, static_cast<uint32_t>(wire::kDebugConfig));
    EXPECT_STREQ(vcfg_msg_text(message.get()), R"({"level":7})");
}

TEST_F(VcmdOnTheBus, AWatcherSeesEachChangeOfWhatItAskedFor) {
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(ask(wire::kWatch, 0, {}, std::string("IP.Interface.*.Status\n") + '\0').code, VCFG_OK);
    std::thread([&] {
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"quiet"})"), VCFG_OK);
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Up"})"), VCFG_OK);
    }).join();
    const std::string line = news(1).front();
    EXPECT_EQ(memberOf(line, "path"), "IP.Interface.1.Status");
    EXPECT_EQ(memberOf(line, "old"), "Down");
    EXPECT_EQ(memberOf(line, "new"), "Up");
    EXPECT_EQ(memberOf(line, "by"), "eid 200");
    EXPECT_GT(std::stoll(memberOf(line, "t_mono_us")), 0);
}

TEST_F(VcmdOnTheBus, AWatcherSeesInstancesComeAndGo) {
    EXPECT_EQ(ask(wire::kWatch, 0, {}, std::string("IP.Interface.\n") + '\0').code, VCFG_OK);
    std::thread([] {
        const objIndex interface = addInstance(RDM_OID_IP_IFACE);
        EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, interface).code, VCFG_OK);
    }).join();
    const std::vector<std::string> lines = news(2);
    EXPECT_EQ(memberOf(lines[0], "path"), "IP.Interface.1");
    EXPECT_EQ(memberOf(lines[0], "old"), "(null)");
    EXPECT_EQ(memberOf(lines[1], "new"), "(null)");
}

TEST_F(VcmdOnTheBus, AWatcherThatDoesNotReadIsDroppedAndNobodyWaitsForIt) {
    EXPECT_EQ(ask(wire::kWatch).code, VCFG_OK);
    std::thread([&] {
        const objIndex interface = addInstance(RDM_OID_IP_IFACE);
        for (int i = 0; vcmd.logged("watches no more") == 0 && i < 3000; ++i) {
            const std::string text(1000, i % 2 == 0 ? 'a' : 'b');
            ASSERT_EQ(writeJson(RDM_OID_IP_IFACE, interface, "{\"LowerLayers\":\"" + text + "\"}"), VCFG_OK);
        }
    }).join();
    EXPECT_EQ(vcmd.logged("watches no more"), 1u) << vcmd.log();
}

TEST_F(VcmdOnTheBus, MalformedRequestsGetACodeAndAReasonAndChangeNothing) {
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    const std::string before = vcmd.savedFile();
    IpInterface unterminated = record<IpInterface>(interface);
    memset(&unterminated.Alias, 'x', sizeof unterminated.Alias);
    IpInterface strange = record<IpInterface>(interface);
    strange.Enable = 7;
    const auto bytes = [](const IpInterface& one) {
        return std::string(reinterpret_cast<const char*>(&one), sizeof one);
    };
    objIndex tooDeep = interface;
    tooDeep.level = 255;
    const struct {
        const char* what;
        uint32_t type;
        uint32_t oid;
        objIndex at;
        std::string payload;
    } requests[] = {
        {"unknown object", wire::kRefresh, 9999, interface, ""},
        {"object 0", wire::kSet, 0, interface, ""},
        {"too few instance numbers", wire::kRefresh, RDM_OID_IP_IFACE, {}, ""},
        {"more instance numbers than there can be", wire::kRefresh, RDM_OID_IP_IFACE, tooDeep, ""},
        {"a payload where none belongs", wire::kRefresh, RDM_OID_IP_IFACE, interface, "x"},
        {"no record", wire::kSet, RDM_OID_IP_IFACE, interface, ""},
        {"half a record", wire::kSet, RDM_OID_IP_IFACE, interface, bytes(strange).substr(0, 100)},
        {"an unterminated text", wire::kSet, RDM_OID_IP_IFACE, interface, bytes(unterminated)},
        {"a boolean of 7", wire::kSetNoApply, RDM_OID_IP_IFACE, interface, bytes(strange)},
        {"a record for no instance number", wire::kSet, RDM_OID_IP_IFACE, {}, bytes(strange)},
        {"an empty write", wire::kWrite, RDM_OID_IP_IFACE, interface, ""},
        {"an unknown kind of write", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf("{}", 5)},
        {"an unterminated write", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf("{}") + "x"},
        {"a write with a NUL inside", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(std::string("{\0}", 3))},
        {"no JSON", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf("{\"Enable\":")},
        {"deep JSON", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(std::string(10000, '['))},
        {"an unknown parameter", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(R"({"Enable":true,"Colour":1})")},
        {"a wrong value", wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(R"({"Enable":true,"Status":"Sideways"})")},
        {"adding a single object", wire::kAdd, RDM_OID_DNS_CLIENT, {}, ""},
        {"adding at the wrong place", wire::kAdd, RDM_OID_IP_IFACE_V4_ADDR, {}, ""},
        {"deleting a table", wire::kDelete, RDM_OID_IP_IFACE, {}, ""},
        {"unterminated patterns", wire::kWatch, 0, {}, "IP."},
        {"an unknown request", 0x00F00099, 0, {}, ""},
    };
    size_t refused = 0;
    for (const auto& one : requests) {
        const vcfg::Answer answer = ask(one.type, one.oid, one.at, one.payload);
        EXPECT_EQ(answer.code, VCFG_ERR_INVALID) << one.what << ": " << answer.body;
        EXPECT_FALSE(answer.body.empty()) << one.what;
        EXPECT_EQ(vcmd.logged(" is refused: "), ++refused) << one.what << "\n" << vcmd.log();
    }
    EXPECT_EQ(vcmd.savedFile(), before);
    EXPECT_EQ(record<IpInterface>(interface).Enable, 0);
}

TEST_F(VcmdOnTheBus, AMessageThatNobodyExpectsIsLoggedAndIgnored) {
    auto* message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + 1));
    message->type = 0x80001234;
    message->srcEid = 77;
    message->dstEid = VCFG_EID_VCMD;
    EXPECT_EQ(vcfg_msg_sendAndGetReply(message, nullptr, kPatienceMs), VCFG_DELIVERED);
    EXPECT_TRUE(eventually([&] { return vcmd.logged("0x80001234 of endpoint 77 is refused") == 1; })) << vcmd.log();
}

TEST_F(VcmdOnTheBus, AnInstanceThatDoesNotExistIsNotFoundAndNotWorthALine) {
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_IP_IFACE, iid({3})), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(codeOf(vcfgFeObjStructGetNextWithoutUpdate, RDM_OID_IP_IFACE), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, iid({3}), "{}"), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, iid({3})).code, VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(vcmd.log(), "");
}
