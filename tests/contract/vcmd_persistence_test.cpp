#include <json-c/json.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <thread>

#include "vcmd_kit.h"

namespace wire = vcfg::wire;
namespace fs = std::filesystem;

namespace {

struct FreeJson {
    void operator()(json_object* json) const { json_object_put(json); }
};
using JsonPtr = std::unique_ptr<json_object, FreeJson>;

// A parameter's value in a model file; -1 when the file does not hold it, -2 when the file is no JSON.
int savedNumber(const std::string& content, const char* object, const char* parameter) {
    const JsonPtr file(json_tokener_parse(content.c_str()));
    if (!json_object_is_type(file.get(), json_type_object)) {
        return -2;
    }
    json_object* found = nullptr;
    json_object_object_get_ex(file.get(), "objects", &found);
    if (!json_object_object_get_ex(found, object, &found) || !json_object_object_get_ex(found, parameter, &found)) {
        return -1;
    }
    return json_object_get_int(found);
}

// The process that listens at a socket.
pid_t serverOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ucred peer{};
    socklen_t size = sizeof peer;
    const int connection = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    EXPECT_EQ(connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << path;
    EXPECT_EQ(getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size), 0);
    close(connection);
    return peer.pid;
}

// The most memory that a process ever had.
long peakKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

// A sanitizer makes everything many times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKills = 10;
constexpr int kOddBytes = 2 << 20;
#else
constexpr int kKills = 30;
constexpr int kOddBytes = 20 << 20;
#endif

std::string counting(int number) {
    return "{\"MaxMTUSize\":" + std::to_string(number) + "}";
}

// A second, and what a loaded machine takes on top.
constexpr auto kSlowMachine = std::chrono::milliseconds(1000);
constexpr auto kSaved = std::chrono::milliseconds(3000);

bool holdsInterface(const Vcmd& vcmd) {
    return vcmd.savedFile().find("\"IP.Interface.1\"") != std::string::npos;
}

}  // namespace

TEST(VcmdPersistence, ConfigurationIsInTheFileWithinASecondOfItsChange) {
    Vcmd vcmd;
    vcmd.start();
    const auto saved = [&] { return savedNumber(vcmd.savedFile(), "IP.Interface.1", "MaxMTUSize"); };
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_TRUE(eventually([&] { return holdsInterface(vcmd); }, kSaved)) << vcmd.savedFile();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(5), VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
    EXPECT_TRUE(eventually([&] { return saved() == 5; }, kSaved)) << vcmd.savedFile();
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, interface).code, VCFG_OK);
    EXPECT_TRUE(eventually([&] { return !holdsInterface(vcmd); }, kSaved)) << vcmd.savedFile();
}

TEST(VcmdPersistence, ChangesThatFollowEachOtherDoNotPutTheFirstOff) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    const auto end = std::chrono::steady_clock::now() + kSaved;
    int number = 0;
    while (!holdsInterface(vcmd) && std::chrono::steady_clock::now() < end) {
        writeJson(RDM_OID_IP_IFACE, interface, counting(++number));
    }
    EXPECT_TRUE(holdsInterface(vcmd));
}

TEST(VcmdPersistence, StateIsNeverInTheFileAndBeginsAtItsDefaults) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex client = addInstance(RDM_OID_DHCPV4_CLIENT);
    EXPECT_EQ(
        writeJson(RDM_OID_DHCPV4_CLIENT, client, R"({"DHCPStatus":"Bound","IPAddress":"192.0.2.1","Alias":"wan"})"),
        VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    EXPECT_EQ(vcmd.savedFile().find("Bound"), std::string::npos) << vcmd.savedFile();
    EXPECT_EQ(vcmd.savedFile().find("192.0.2.1"), std::string::npos);
    vcmd.powerCycle();
    const Dhcpv4Client found = record<Dhcpv4Client>(client);
    EXPECT_EQ(found.Alias, "wan");
    EXPECT_EQ(found.DHCPStatus, "");
    EXPECT_EQ(found.IPAddress, "");
}

TEST(VcmdPersistence, StateInAFileOfAnOlderReleaseIsLeftOut) {
    Vcmd vcmd;
    std::ofstream(vcmd.data() / "vcfg_config.json")
        << R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"wan","Status":"Up","Name":"eth0.5"}}})";
    vcmd.start();
    const IpInterface found = record<IpInterface>(iid({1}));
    EXPECT_EQ(found.Alias, "wan");
    EXPECT_EQ(found.Status, "Down");
    EXPECT_EQ(found.Name, "eth0.5") << "a name is what the interface is";
    EXPECT_EQ(vcmd.logged("skipped"), 0u) << vcmd.log();
}

TEST(VcmdPersistence, StateOfAModelThatIsGivenIsTaken) {
    Vcmd vcmd;
    std::ofstream(vcmd.path("defaults.json")) << R"({"version":1,"objects":{"IP.Interface.4":{"Status":"Up"}}})";
    vcmd.start({"--defaults", vcmd.path("defaults.json")});
    EXPECT_EQ(record<IpInterface>(iid({4})).Status, "Up");
    EXPECT_EQ(vcmd.savedFile().find("Up"), std::string::npos);
}

TEST(VcmdPersistence, ModelIsLoadedWholeWithItsStateOrNotAtAll) {
    Vcmd vcmd;
    vcmd.start();
    addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(load(R"({"version":1,"objects":{"IP.Interface.7":{"Status":"Up"}}})").code, VCFG_OK);
    EXPECT_EQ(record<IpInterface>(iid({7})).Status, "Up");
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_IP_IFACE, iid({1})), VCFG_ERR_NOT_FOUND);
    const vcfg::Answer refused =
        load(R"({"version":1,"objects":{"IP.Interface.8":{},"IP.Interface.9":{"Status":"Odd"}}})");
    EXPECT_EQ(refused.code, VCFG_ERR_INVALID);
    EXPECT_NE(refused.body.find("IP.Interface.9: Status takes"), std::string::npos) << refused.body;
    EXPECT_EQ(record<IpInterface>(iid({7})).Status, "Up");
    EXPECT_EQ(codeOf(vcfgFeObjStructGetWithoutUpdate, RDM_OID_IP_IFACE, iid({8})), VCFG_ERR_NOT_FOUND);
}

TEST(VcmdPersistence, PartOfAModelThatDoesNotFollowTheOneBeforeIsRefused) {
    Vcmd vcmd;
    vcmd.start();
    EXPECT_EQ(become().code, VCFG_ERR_INVALID) << "no part has come";
    EXPECT_EQ(ask(wire::kLoadPart, 3, {}, "abc").code, VCFG_ERR_INVALID);
    EXPECT_EQ(ask(wire::kLoadPart, 0, {}, "abc").code, VCFG_OK);
    EXPECT_EQ(ask(wire::kLoadPart, 2, {}, "abc").code, VCFG_ERR_INVALID);
    EXPECT_EQ(ask(wire::kLoadPart, UINT32_MAX, {}, "abc").code, VCFG_ERR_INVALID);
    EXPECT_EQ(become().code, VCFG_ERR_INVALID) << "\"abc\" is no model";
    EXPECT_TRUE(vcmd.answers());
}

TEST(VcmdPersistence, CleanStopSavesAtOnce) {
    Vcmd vcmd;
    vcmd.start();
    addInstance(RDM_OID_IP_IFACE);
    vcmd.stop();
    EXPECT_TRUE(holdsInterface(vcmd)) << vcmd.savedFile();
}

TEST(VcmdPersistence, WhatIsInTheFileAlreadyIsNotWrittenAgain) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    const DirectoryChanges changes(vcmd.data());
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(5)), VCFG_OK);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(0)), VCFG_OK);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Up"})"), VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    EXPECT_EQ(changes.count(), 0u);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(6)), VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    EXPECT_GT(changes.count(), 0u) << "the counting works";
}

TEST(VcmdPersistence, APowerCycleLeavesTheConfiguration) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    const objIndex address = addInstance(RDM_OID_IP_IFACE_V4_ADDR, interface);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE_V4_ADDR, address, R"({"IPAddress":"192.0.2.1","Status":"Enabled"})"), VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    vcmd.powerCycle();
    const IpInterfaceIpv4Address found = record<IpInterfaceIpv4Address>(address);
    EXPECT_EQ(found.IPAddress, "192.0.2.1");
    EXPECT_EQ(found.Status, "Disabled");
}

TEST(VcmdPersistence, FirstUseDateThatIsOnlyPublishedIsInTheFileAndFoundAgain) {
    Vcmd vcmd;
    vcmd.start();
    DeviceInfo device = record<DeviceInfo>({});
    EXPECT_EQ(device.FirstUseDate, "0001-01-01T00:00:00Z");
    const std::string date = R"({"FirstUseDate":"2026-11-21T10:20:30Z"})";
    EXPECT_EQ(writeJson(RDM_OID_DEVICE_INFO, {}, date, VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
    EXPECT_TRUE(eventually([&] { return vcmd.savedFile().find("2026-11-21T10:20:30Z") != std::string::npos; }));
    vcmd.kill9();
    vcmd.start();
    EXPECT_EQ(record<DeviceInfo>({}).FirstUseDate, "2026-11-21T10:20:30Z");
}

TEST(VcmdPersistence, DefaultsCountOnlyWithoutAFile) {
    Vcmd vcmd;
    std::ofstream(vcmd.path("defaults.json")) << R"({"version":1,"objects":{"IP.Interface.4":{"Alias":"lan"}}})";
    vcmd.start({"--defaults", vcmd.path("defaults.json")});
    EXPECT_EQ(record<IpInterface>(iid({4})).Alias, "lan");
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, iid({4}), R"({"Alias":"mine"})"), VCFG_OK);
    vcmd.stop();
    vcmd.start({"--defaults", vcmd.path("defaults.json")});
    EXPECT_EQ(record<IpInterface>(iid({4})).Alias, "mine");
}

TEST(VcmdPersistence, ADamagedFileIsSetAsideAndTheDeviceComesUp) {
    Vcmd vcmd;
    std::ofstream(vcmd.data() / "vcfg_config.json") << "{\"version\":1,\"obj";
    vcmd.start();
    EXPECT_EQ(codeOf(vcfgFeObjStructGetNextWithoutUpdate, RDM_OID_IP_IFACE), VCFG_ERR_NOT_FOUND);
    EXPECT_TRUE(fs::exists(vcmd.data() / "vcfg_config.json.bad"));
    EXPECT_EQ(vcmd.logged("the model starts anew"), 1u) << vcmd.log();
}

TEST(VcmdPersistence, WhatIsNoReadableFileIsSetAsideAndTheDeviceComesUp) {
    const std::pair<const char*, std::function<void(const fs::path&)>> cases[] = {
        {"a directory", [](const fs::path& file) { fs::create_directories(file / "sub"); }},
        {"a symlink loop", [](const fs::path& file) { fs::create_symlink(file.filename(), file); }},
        {"a FIFO", [](const fs::path& file) { EXPECT_EQ(mkfifo(file.c_str(), 0600), 0); }},
        {"over the limit",
         [](const fs::path& file) {
             std::ofstream(file) << "{}";
             fs::resize_file(file, 40 << 20);
         }},
    };
    Vcmd vcmd;
    for (const auto& [what, make] : cases) {
        make(vcmd.data() / "vcfg_config.json");
        ASSERT_NO_FATAL_FAILURE(vcmd.start()) << what;
        addInstance(RDM_OID_IP_IFACE);
        EXPECT_TRUE(fs::exists(fs::symlink_status(vcmd.data() / "vcfg_config.json.bad"))) << what;
        EXPECT_EQ(vcmd.stop(), 0) << what;
        EXPECT_TRUE(holdsInterface(vcmd)) << what;
        fs::remove(vcmd.data() / "vcfg_config.json");
    }
    EXPECT_EQ(vcmd.logged("the model starts anew"), std::size(cases)) << vcmd.log();
}

TEST(VcmdPersistence, DefaultsThatAreNoModelAreRefusedBeforeTheEndpointIsTaken) {
    Vcmd vcmd;
    vcmd.start();
    const fs::path data = vcmd.path("other");
    fs::create_directory(data);
    EXPECT_EQ(mkfifo(vcmd.path("fifo").c_str(), 0600), 0);
    for (const fs::path& defaults : {vcmd.path("missing"), vcmd.path("run"), vcmd.path("fifo")}) {
        const pid_t pid = vcmd.launch({"--data-dir", data, "--defaults", defaults});
        int status = 0;
        ASSERT_TRUE(eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; })) << defaults;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << defaults << " " << status;
    }
    EXPECT_EQ(vcmd.logged("the defaults cannot be loaded"), 3u) << vcmd.log();
    EXPECT_TRUE(vcmd.answers());
    EXPECT_EQ(vcmd.logged("this one ends"), 0u) << vcmd.log();
}

TEST(VcmdPersistence, ADamagedFileAndDamagedDefaultsLeaveAnEmptyModel) {
    Vcmd vcmd;
    std::ofstream(vcmd.data() / "vcfg_config.json") << "{\"version\":1,\"obj";
    vcmd.start({"--defaults", vcmd.path("missing")});
    EXPECT_EQ(codeOf(vcfgFeObjStructGetNextWithoutUpdate, RDM_OID_IP_IFACE), VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(vcmd.logged("the model starts empty"), 1u) << vcmd.log();
}

TEST(VcmdPersistence, AFileFullOfUnknownObjectsIsSkippedCheaply) {
    Vcmd vcmd;
    {
        std::ofstream file(vcmd.data() / "vcfg_config.json");
        file << R"({"version":1,"objects":{)";
        for (int each = 0; file.tellp() < kOddBytes; ++each) {
            file << "\"Odd." << each << "\":{\"a\":[{},{}]},";
        }
        file << R"("IP.Interface.1":{"Alias":"wan"}}})";
    }
    vcmd.start();
    EXPECT_EQ(record<IpInterface>(iid({1})).Alias, "wan");
    EXPECT_EQ(vcmd.logged("skipped: Odd."), 20u);
    EXPECT_EQ(vcmd.logged(" more"), 1u);
    EXPECT_LT(peakKiB(vcmd.pid()), 200 * 1024);
}

TEST(VcmdPersistence, WhatTheModelDoesNotKnowIsSkippedWithALine) {
    Vcmd vcmd;
    std::ofstream(vcmd.data() / "vcfg_config.json")
        << R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"wan","Colour":"red","Status":"Sideways"}}})";
    vcmd.start();
    EXPECT_EQ(record<IpInterface>(iid({1})).Alias, "wan");
    EXPECT_EQ(vcmd.logged("skipped"), 2u) << vcmd.log();
}

TEST(VcmdPersistence, DirectoriesThatAreMissingEndTheStart) {
    for (const char* missing : {"no/such", "missing"}) {
        Vcmd vcmd;
        const pid_t pid = vcmd.launch({"--data-dir", vcmd.path(missing)});
        int status = 0;
        ASSERT_TRUE(eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; }));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
        EXPECT_EQ(vcmd.logged("data directory"), 1u) << vcmd.log();
        EXPECT_NE(access(vcmd.path(missing).c_str(), F_OK), 0);
    }
}

TEST(VcmdPersistence, ATakenOverEndpointEndsItsOldServerAndLosesNothing) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(9)), VCFG_OK);
    const pid_t newer = vcmd.launch();
    EXPECT_EQ(vcmd.await(), 0) << vcmd.log();
    ASSERT_TRUE(eventually([&] { return vcmd.answers(); })) << vcmd.log();
    EXPECT_EQ(record<IpInterface>(interface).MaxMTUSize, 9u);
    ::kill(newer, SIGKILL);
    waitpid(newer, nullptr, 0);
}

TEST(VcmdPersistence, AnEndpointServedWithOtherDataIsNotTakenOverByASlip) {
    Vcmd vcmd;
    vcmd.start();
    const std::string other = vcmd.path("other");
    ASSERT_EQ(mkdir(other.c_str(), 0700), 0);
    const pid_t slip = vcmd.launch({"--data-dir", other});
    int status = 0;
    ASSERT_TRUE(eventually([&] { return waitpid(slip, &status, WNOHANG) == slip; }));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(vcmd.logged("endpoint 1 is served by process"), 1u) << vcmd.log();
    EXPECT_EQ(vcmd.logged("(vcmd) with other data; with --take-over"), 1u) << vcmd.log();
    EXPECT_TRUE(vcmd.answers());
    const pid_t meant = vcmd.launch({"--data-dir", other, "--take-over"});
    EXPECT_EQ(vcmd.await(), 0) << vcmd.log();
    EXPECT_TRUE(eventually([&] { return vcmd.answers(); })) << vcmd.log();
    ::kill(meant, SIGKILL);
    waitpid(meant, nullptr, 0);
}

TEST(VcmdPersistence, ItDetachesAndItsStarterEndsWhenItServes) {
    Vcmd vcmd;
    const std::string command = std::string(VCMD_PATH) + " >" + vcmd.path("output").string() + " 2>&1";
    EXPECT_EQ(system(command.c_str()), 0) << vcmd.file("output");
    EXPECT_TRUE(vcmd.answers()) << "the starter has ended too early";
    const pid_t detached = serverOf(vcmd.path("run/eid-1"));
    EXPECT_EQ(getpgid(detached), detached) << "it has no session of its own";
    EXPECT_EQ(::kill(detached, SIGTERM), 0);
    EXPECT_TRUE(eventually([&] { return !vcmd.answers(); }));
}

// A disk of its own, that is filled: needs the right to mount one.
class VcmdFullDisk : public ::testing::Test {
  protected:
    void SetUp() override {
        if (mount("tmpfs", vcmd.data().c_str(), "tmpfs", 0, "size=64k,mode=0700") != 0) {
            GTEST_SKIP() << "no right to mount a small disk";
        }
        vcmd.start();
        interface = addInstance(RDM_OID_IP_IFACE);
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(1)), VCFG_OK);
    }
    void TearDown() override { umount2(vcmd.data().c_str(), MNT_DETACH); }

    void fill() {
        EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
        std::ofstream rest(vcmd.data() / "rest");
        const std::string block(4096, 'x');
        while (rest.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

    Vcmd vcmd;
    objIndex interface {};
};

TEST_F(VcmdFullDisk, WriteStandsAndOneLineSaysThatItIsNotSaved) {
    fill();
    vcmd.hook("apply", "IP.Interface.{i}", "echo >applied");
    EXPECT_EQ(ask(wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(counting(2), VCFG_FE_WRITE_AND_WAIT)).code,
              VCFG_OK);
    EXPECT_EQ(record<IpInterface>(interface).MaxMTUSize, 2u);
    EXPECT_TRUE(fs::exists(vcmd.path("applied")));
    EXPECT_TRUE(eventually([&] { return vcmd.logged("the configuration cannot be saved") > 0; }));
    const vcfg::Answer answer = ask(wire::kSave);
    EXPECT_EQ(answer.code, VCFG_ERR_FAIL);
    EXPECT_NE(answer.body.find("No space left"), std::string::npos) << answer.body;
    EXPECT_EQ(vcmd.logged("the configuration cannot be saved"), 1u) << vcmd.log();
    EXPECT_EQ(savedNumber(vcmd.savedFile(), "IP.Interface.1", "MaxMTUSize"), 1);
}

TEST_F(VcmdFullDisk, ItIsSavedByItselfWhenThereIsRoomAgain) {
    fill();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(2)), VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_ERR_FAIL);
    fs::remove(vcmd.data() / "rest");
    EXPECT_TRUE(eventually([&] { return savedNumber(vcmd.savedFile(), "IP.Interface.1", "MaxMTUSize") == 2; }));
    EXPECT_TRUE(eventually([&] { return vcmd.logged("the configuration is saved again") == 1; })) << vcmd.log();
}

// The writer counts up; whenever vcmd is killed, the file is whole and not older than what was answered a second
// before.
TEST(VcmdPersistence, KilledAtAnyMomentTheFileIsWholeAndAtMostASecondOld) {
    using Clock = std::chrono::steady_clock;
    Vcmd vcmd(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    vcmd.start();
    addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, iid({1}), counting(1)), VCFG_OK);
    EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    std::mt19937 random(20240229);
    std::uniform_int_distribution<int> microseconds(0, 1500000);
    int next = 2;
    for (int kills = 0; kills < kKills; ++kills) {
        std::map<int, Clock::time_point> answered;
        const auto killed = Clock::now() + std::chrono::microseconds(microseconds(random));
        while (Clock::now() < killed) {
            // Every third one is saved at once, so that kills meet saves of both kinds.
            ASSERT_EQ(writeJson(RDM_OID_IP_IFACE, iid({1}), counting(next), VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
            answered[next++] = Clock::now();
            if (next % 3 == 0) {
                ask(wire::kSave);
            }
        }
        std::thread saving([] { ask(wire::kSave, 0, {}, "", 1000); });
        usleep(static_cast<useconds_t>(microseconds(random) % 1000));
        vcmd.kill9();
        saving.join();
        const int saved = savedNumber(vcmd.savedFile(), "IP.Interface.1", "MaxMTUSize");
        ASSERT_GT(saved, 0) << "torn: " << vcmd.savedFile();
        for (const auto& [number, when] : answered) {
            ASSERT_TRUE(number <= saved || when + std::chrono::seconds(1) + kSlowMachine > killed)
                << number << " " << saved;
        }
        ASSERT_NO_FATAL_FAILURE(vcmd.powerCycle());
        ASSERT_EQ(record<IpInterface>(iid({1})).MaxMTUSize, static_cast<uint32_t>(saved));
    }
}
