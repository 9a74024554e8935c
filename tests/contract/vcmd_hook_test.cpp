#include <json-c/json.h>
#include <signal.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "vcmd_kit.h"

namespace wire = vcfg::wire;

namespace {

const char* const kInterface = "IP.Interface.{i}";

std::string member(const std::string& json, const char* name) {
    json_object* object = json_tokener_parse(json.c_str());
    json_object* value = nullptr;
    json_object_object_get_ex(object, name, &value);
    std::string text = value != nullptr ? json_object_get_string(value) : "";
    json_object_put(object);
    return text;
}

class VcmdHooks : public ::testing::Test {
  protected:
    void SetUp() override {
        vcmd.start({"--hook-timeout", "1"});
        interface = addInstance(RDM_OID_IP_IFACE);
    }

    int enable(bool on, uint32_t requestType = VCFG_FE_WRITE_AND_WAIT) {
        return writeJson(RDM_OID_IP_IFACE, interface, on ? R"({"Enable":true})" : R"({"Enable":false})", requestType);
    }
    std::string eventualFile(const std::string& name) {
        EXPECT_TRUE(eventually([&] { return !vcmd.file(name).empty(); })) << name << " is never written";
        return vcmd.file(name);
    }

    Vcmd vcmd;
    objIndex interface {};
};

}  // namespace

TEST_F(VcmdHooks, ReadingAsksTheRefreshHookFirst) {
    vcmd.hook("refresh", kInterface, R"(echo "$1 $2" >asked; echo '{"Status":"Up","LastChange":7}')");
    const IpInterface found = record<IpInterface>(interface, vcfgFeObjStructGet);
    EXPECT_EQ(found.Status, "Up");
    EXPECT_EQ(found.LastChange, 7u);
    EXPECT_EQ(vcmd.file("asked"), "get IP.Interface.1\n");
}

TEST_F(VcmdHooks, IterationRefreshesEachInstanceItFinds) {
    addInstance(RDM_OID_IP_IFACE);
    vcmd.hook("refresh", kInterface, R"(echo "{\"Name\":\"$2\"}")");
    objIndex at{};
    for (const char* name : {"IP.Interface.1", "IP.Interface.2"}) {
        void* found = nullptr;
        ASSERT_EQ(vcfgFeObjStructGetNext(RDM_OID_IP_IFACE, &at, &found), VCFG_OK);
        EXPECT_EQ(static_cast<IpInterface*>(found)->Name, name);
        free(found);
    }
    EXPECT_EQ(at.idx[0], 2);
    EXPECT_EQ(codeOf(vcfgFeObjStructGetNext, RDM_OID_IP_IFACE, at), VCFG_ERR_NOT_FOUND);
}

TEST_F(VcmdHooks, StoredReadsAskNobody) {
    vcmd.hook("refresh", kInterface, "echo >asked");
    record<IpInterface>(interface);
    EXPECT_FALSE(std::filesystem::exists(vcmd.path("asked")));
}

TEST_F(VcmdHooks, AFailingRefreshAnswersTheStoredValuesWithOneLogLine) {
    enable(true);
    vcmd.hook("refresh", kInterface, "echo no cable >&2; exit 3");
    EXPECT_EQ(record<IpInterface>(interface, vcfgFeObjStructGet).Enable, 1);
    EXPECT_EQ(vcmd.logged("ended with status 3, \"no cable\""), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, RefreshedValuesAreValidatedWhole) {
    vcmd.hook("refresh", kInterface, R"(echo '{"Name":"eth0","Status":"Sideways"}')");
    const IpInterface found = record<IpInterface>(interface, vcfgFeObjStructGet);
    EXPECT_EQ(found.Status, "Down");
    EXPECT_EQ(found.Name, "");
    EXPECT_EQ(vcmd.logged("its output is refused: Status"), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, OutputThatIsNoJsonIsRefused) {
    for (const char* output : {"Up", "[1]", R"({"Name":)", R"({"Name":"a"} {"Name":"b"})", R"({"NoSuch":1})"}) {
        vcmd.hook("refresh", kInterface, std::string("cat <<'END'\n") + output + "\nEND");
        EXPECT_EQ(record<IpInterface>(interface, vcfgFeObjStructGet).Name, "") << output;
    }
    EXPECT_EQ(vcmd.logged("its output is refused"), 5u) << vcmd.log();
}

TEST_F(VcmdHooks, EndlessOutputIsCutOff) {
    vcmd.hook("refresh", kInterface, "yes");
    EXPECT_EQ(record<IpInterface>(interface, vcfgFeObjStructGet).Name, "");
    EXPECT_EQ(vcmd.logged("wrote more than"), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, AHangingRefreshIsKilledAndAnswered) {
    vcmd.hook("refresh", kInterface, "echo $$ >pid; sleep 60 & wait");
    record<IpInterface>(interface, vcfgFeObjStructGet);
    EXPECT_EQ(vcmd.logged("its time was up"), 1u) << vcmd.log();
    const pid_t group = std::stoi(vcmd.file("pid"));
    EXPECT_TRUE(eventually([&] { return ::kill(-group, 0) != 0; })) << "what the hook has started lives on";
}

TEST_F(VcmdHooks, OnlyTheCallerWaitsForARefresh) {
    vcmd.hook("refresh", kInterface, "echo >asked; while [ ! -e go ]; do sleep 0.01; done; echo '{\"Name\":\"late\"}'");
    std::atomic<bool> answered{false};
    std::thread caller([&] {
        record<IpInterface>(interface, vcfgFeObjStructGet);
        answered = true;
    });
    eventualFile("asked");
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"meanwhile"})"), VCFG_OK);
    EXPECT_EQ(record<IpInterface>(interface).Alias, "meanwhile");
    EXPECT_FALSE(answered);
    std::filesystem::create_directory(vcmd.path("go"));
    caller.join();
    EXPECT_EQ(record<IpInterface>(interface).Name, "late");
}

TEST_F(VcmdHooks, ABlockedWriteReturnsAfterItsHook) {
    vcmd.hook("apply", kInterface, "sleep 0.2; echo done >applied");
    EXPECT_EQ(enable(true), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "done\n");
}

TEST_F(VcmdHooks, AnOrdinaryWriteDoesNotWaitForItsHook) {
    vcmd.hook("apply", kInterface, "while [ ! -e go ]; do sleep 0.01; done; echo done >applied");
    EXPECT_EQ(enable(true, VCFG_FE_WRITE_APPLY), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "");
    std::filesystem::create_directory(vcmd.path("go"));
    eventualFile("applied");
}

TEST_F(VcmdHooks, AWriteWithoutApplyRunsNoHook) {
    vcmd.hook("apply", kInterface, "echo $1 >>applied");
    EXPECT_EQ(enable(true, VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
    EXPECT_EQ(enable(false), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "set\n");
}

TEST_F(VcmdHooks, ApplyHooksRunOneByOneInTheOrderOfTheWrites) {
    vcmd.hook("apply", kInterface,
              "mkdir running || echo overlap >>order; cat >>order; echo >>order; sleep 0.02; rmdir running");
    std::string expected;
    for (int i = 1; i <= 10; ++i) {
        const uint32_t type = i < 10 ? VCFG_FE_WRITE_APPLY : VCFG_FE_WRITE_AND_WAIT;
        ASSERT_EQ(writeJson(RDM_OID_IP_IFACE, interface, "{\"LastChange\":" + std::to_string(i) + "}", type), VCFG_OK);
    }
    std::istringstream lines(vcmd.file("order"));
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_EQ(member(line, "LastChange"), std::to_string(++count)) << line;
    }
    EXPECT_EQ(count, 10);
}

TEST_F(VcmdHooks, AnApplyHookSeesTheValuesBeforeAndAfter) {
    vcmd.hook("apply", kInterface, "echo $1 $2 >arguments; cat >input");
    EXPECT_EQ(enable(true), VCFG_OK);
    EXPECT_EQ(vcmd.file("arguments"), "set IP.Interface.1\n");
    EXPECT_EQ(member(vcmd.file("input"), "Enable"), "true");
    EXPECT_EQ(member(member(vcmd.file("input"), "previous"), "Enable"), "false");
}

TEST_F(VcmdHooks, AFailedApplyIsAFailureAndTheValuesStay) {
    vcmd.hook("apply", kInterface, "echo no such device >&2; exit 1");
    const vcfg::Answer answer =
        ask(wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(R"({"Enable":true})", VCFG_FE_WRITE_AND_WAIT));
    EXPECT_EQ(answer.code, VCFG_ERR_FAIL);
    EXPECT_NE(answer.body.find("no such device"), std::string::npos) << answer.body;
    EXPECT_EQ(record<IpInterface>(interface).Enable, 1);
    EXPECT_EQ(vcmd.logged("no such device"), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, AComplaintInPiecesIsKeptWhole) {
    vcmd.hook("apply", kInterface,
              "for p in 'not this\\n' 'no ' 'such ' 'device' ' here' . '\\n\\n'; do printf \"$p\" >&2; done; exit 1");
    EXPECT_EQ(enable(true), VCFG_ERR_FAIL);
    EXPECT_EQ(vcmd.logged("ended with status 1, \"no such device here.\""), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, AComplaintOfManyPiecesIsKeptWhole) {
    vcmd.hook("apply", kInterface, "i=0; while [ $i -lt 300 ]; do printf x >&2; i=$((i+1)); done; exit 1");
    EXPECT_EQ(enable(true), VCFG_ERR_FAIL);
    EXPECT_EQ(vcmd.logged("\"" + std::string(300, 'x') + "\""), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, TheLastLineOfALargePieceIsKept) {
    vcmd.hook("apply", kInterface,
              "text=$(i=0; while [ $i -lt 1000 ]; do echo 'File \"x\"'; i=$((i+1)); done; echo 'the reason'); echo "
              "\"$text\" >&2; exit 1");
    EXPECT_EQ(enable(true), VCFG_ERR_FAIL);
    EXPECT_EQ(vcmd.logged("ended with status 1, \"the reason\""), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, AHangingApplyIsKilledAndTheNextOneRuns) {
    vcmd.hook("apply", kInterface, "[ -e seen ] || { : >seen; sleep 60; }; echo $2 >applied");
    EXPECT_EQ(enable(true, VCFG_FE_WRITE_APPLY), VCFG_OK);
    EXPECT_EQ(enable(false), VCFG_OK);
    EXPECT_EQ(vcmd.file("applied"), "IP.Interface.1\n");
    EXPECT_EQ(vcmd.logged("its time was up"), 1u) << vcmd.log();
}

TEST_F(VcmdHooks, AddingAndDeletingRunTheApplyHookToo) {
    vcmd.hook("apply", "IP.Interface.{i}.IPv4Address.{i}", "echo $1 $2 >>applied");
    vcmd.hook("apply", kInterface, "echo $1 $2 >>applied");
    const objIndex address = addInstance(RDM_OID_IP_IFACE_V4_ADDR, interface);
    EXPECT_EQ(address.level, 2);
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, interface).code, VCFG_OK);
    const std::string expected =
        "add IP.Interface.1.IPv4Address.1\ndel IP.Interface.1.IPv4Address.1\ndel IP.Interface.1\n";
    EXPECT_TRUE(eventually([&] { return vcmd.file("applied") == expected; })) << vcmd.file("applied");
}

TEST_F(VcmdHooks, HostileValuesReachTheHookOnlyAsJson) {
    const std::string hostile = "$(touch owned); `touch owned` ' \" \\ \n | & > owned {i} %s";
    vcmd.hook("apply", kInterface, "cat >input; env >environment");
    json_object* values = json_object_new_object();
    json_object_object_add(values, "LowerLayers", json_object_new_string(hostile.c_str()));
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, json_object_to_json_string(values), VCFG_FE_WRITE_AND_WAIT),
              VCFG_OK);
    json_object_put(values);
    EXPECT_EQ(member(vcmd.file("input"), "LowerLayers"), hostile);
    EXPECT_FALSE(std::filesystem::exists(vcmd.path("owned")));
    EXPECT_EQ(vcmd.file("environment").find("owned"), std::string::npos);
}

TEST_F(VcmdHooks, AHookGetsACleanEnvironment) {
    vcmd.stop();
    setenv("LD_LIBRARY_PATH", "/nowhere", 1);
    setenv("SECRET", "token", 1);
    vcmd.start();
    vcmd.hook("apply", kInterface, "exec env >environment");
    EXPECT_EQ(enable(true), VCFG_OK);
    std::istringstream lines(vcmd.file("environment"));
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find('='));
        // The shell adds the last two.
        EXPECT_TRUE(name == "PATH" || name == "VCFG_RUN_DIR" || name == "VCFG_DATA_DIR" || name == "VCFG_EVENT" ||
                    name == "PWD" || name == "OLDPWD")
            << line;
    }
}

TEST_F(VcmdHooks, AHookMayCallVcmdItself) {
    vcmd.hook("apply", kInterface, std::string(VCFGCTL_PATH) + " set --no-apply IP.Interface.1.Status=Up 2>complaint");
    EXPECT_EQ(enable(true), VCFG_OK) << vcmd.file("complaint");
    EXPECT_EQ(record<IpInterface>(interface).Status, "Up");
}

TEST_F(VcmdHooks, AHookThatOthersCanWriteIsNotRun) {
    vcmd.hook("apply", kInterface, "echo >applied");
    std::filesystem::permissions(vcmd.path("hooks/apply/IP.Interface.{i}"), std::filesystem::perms::all);
    EXPECT_EQ(enable(true), VCFG_ERR_FAIL);
    EXPECT_FALSE(std::filesystem::exists(vcmd.path("applied")));
}

TEST_F(VcmdHooks, ProcessesThatAHookLeavesBehindDoNotHoldItUp) {
    vcmd.hook("apply", kInterface, "sleep 30 & echo $! >pid");
    EXPECT_EQ(enable(true), VCFG_OK);
    EXPECT_EQ(::kill(std::stoi(vcmd.file("pid")), SIGKILL), 0) << "it was not left alone";
}

TEST_F(VcmdHooks, MoreChangesThanCanWaitAreRefused) {
    vcmd.hook("apply", kInterface, "while [ ! -e go ]; do sleep 0.01; done");
    int code = VCFG_OK;
    int taken = 0;
    while (taken < 1000 && (code = enable(taken % 2 == 0, VCFG_FE_WRITE_APPLY)) == VCFG_OK) {
        ++taken;
    }
    EXPECT_EQ(code, VCFG_ERR_FULL);
    EXPECT_GE(taken, 256);
    EXPECT_EQ(record<IpInterface>(interface).Enable, taken % 2) << "a refused write has changed something";
}
