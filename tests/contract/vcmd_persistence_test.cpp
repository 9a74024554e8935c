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
constexpr int kKills = 200;
constexpr int kOddBytes = 2 << 20;
#else
constexpr int kKills = 1000;
constexpr int kOddBytes = 20 << 20;
#endif

std::string counting(int number) {
    return "{\"LastChange\":" + std::to_string(number) + "}";
}

}  // namespace

TEST(VcmdPersistence, WhatIsAnsweredIsInTheFile) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_NE(vcmd.savedFile().find("\"IP.Interface.1\""), std::string::npos) << vcmd.savedFile();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(5), VCFG_FE_WRITE_NO_APPLY), VCFG_OK);
    EXPECT_EQ(savedNumber(vcmd.savedFile(), "IP.Interface.1", "LastChange"), 5);
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, interface).code, VCFG_OK);
    EXPECT_EQ(vcmd.savedFile().find("\"IP.Interface.1\""), std::string::npos) << vcmd.savedFile();
}

TEST(VcmdPersistence, ARestartFindsEverythingAgain) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    const objIndex address = addInstance(RDM_OID_IP_IFACE_V4_ADDR, interface);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE_V4_ADDR, address, R"({"IPAddress":"192.0.2.1","Status":"Enabled"})"), VCFG_OK);
    vcmd.kill9();
    vcmd.start();
    const IpInterfaceIpv4Address found = record<IpInterfaceIpv4Address>(address);
    EXPECT_EQ(found.IPAddress, "192.0.2.1");
    EXPECT_EQ(found.Status, "Enabled");
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
    EXPECT_EQ(ask(wire::kNextStored, RDM_OID_IP_IFACE).code, VCFG_ERR_NOT_FOUND);
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
        EXPECT_NE(vcmd.savedFile().find("IP.Interface.1"), std::string::npos) << what;
        EXPECT_EQ(vcmd.stop(), 0) << what;
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
    EXPECT_EQ(ask(wire::kNextStored, RDM_OID_IP_IFACE).code, VCFG_ERR_NOT_FOUND);
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
    Vcmd vcmd;
    const pid_t pid = vcmd.launch({"--data-dir", vcmd.path("no/such")});
    int status = 0;
    ASSERT_TRUE(eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; }));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(vcmd.logged("data directory"), 1u) << vcmd.log();
}

TEST(VcmdPersistence, ATakenOverEndpointEndsItsOldServerAndLosesNothing) {
    Vcmd vcmd;
    vcmd.start();
    const objIndex interface = addInstance(RDM_OID_IP_IFACE);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(9)), VCFG_OK);
    const pid_t newer = vcmd.launch();
    EXPECT_EQ(vcmd.await(), 0) << vcmd.log();
    ASSERT_TRUE(eventually([&] { return vcmd.answers(); })) << vcmd.log();
    EXPECT_EQ(record<IpInterface>(interface).LastChange, 9u);
    ::kill(newer, SIGKILL);
    waitpid(newer, nullptr, 0);
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
        std::ofstream rest(vcmd.data() / "rest");
        const std::string block(4096, 'x');
        while (rest.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }

    Vcmd vcmd;
    objIndex interface {};
};

TEST_F(VcmdFullDisk, AWriteThatCannotBeSavedIsRefusedAndTakenBack) {
    fill();
    vcmd.hook("apply", "IP.Interface.{i}", "echo >applied");
    const vcfg::Answer answer =
        ask(wire::kWrite, RDM_OID_IP_IFACE, interface, writeOf(counting(2), wire::kWriteAndWait));
    EXPECT_EQ(answer.code, VCFG_ERR_FAIL);
    EXPECT_NE(answer.body.find("No space left"), std::string::npos) << answer.body;
    EXPECT_EQ(record<IpInterface>(interface).LastChange, 1u);
    EXPECT_EQ(savedNumber(vcmd.savedFile(), "IP.Interface.1", "LastChange"), 1);
    EXPECT_FALSE(fs::exists(vcmd.path("applied")));
}

TEST_F(VcmdFullDisk, AddingAndDeletingAreTakenBackToo) {
    const objIndex address = addInstance(RDM_OID_IP_IFACE_V4_ADDR, interface);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE_V4_ADDR, address, R"({"IPAddress":"192.0.2.1"})"), VCFG_OK);
    fill();
    EXPECT_EQ(ask(wire::kAdd, RDM_OID_IP_IFACE).code, VCFG_ERR_FAIL);
    EXPECT_EQ(ask(wire::kGetStored, RDM_OID_IP_IFACE, iid({2})).code, VCFG_ERR_NOT_FOUND);
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, interface).code, VCFG_ERR_FAIL);
    EXPECT_EQ(record<IpInterface>(interface).LastChange, 1u);
    EXPECT_EQ(record<IpInterfaceIpv4Address>(address).IPAddress, "192.0.2.1");
}

TEST_F(VcmdFullDisk, WritesWorkAgainWhenThereIsRoom) {
    fill();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(2)), VCFG_ERR_FAIL);
    fs::remove(vcmd.data() / "rest");
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(3)), VCFG_OK);
    EXPECT_EQ(savedNumber(vcmd.savedFile(), "IP.Interface.1", "LastChange"), 3);
}

// In memory, where a save costs little, so that the kills meet many of them. The writer counts up; after each kill the
// file must hold the last number answered, or the one that was on its way.
TEST(VcmdPersistence, KilledAThousandTimesTheFileHoldsTheLastAnsweredStateOrTheNext) {
    Vcmd vcmd(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp");
    vcmd.start();
    addInstance(RDM_OID_IP_IFACE);
    std::mt19937 random(20240229);
    std::uniform_int_distribution<int> microseconds(0, 4000);
    int next = 1;
    for (int kills = 0; kills < kKills; ++kills) {
        std::thread killer([pid = vcmd.pid(), pause = microseconds(random)] {
            usleep(static_cast<useconds_t>(pause));
            ::kill(pid, SIGKILL);
        });
        int answered = next - 1;
        while (writeJson(RDM_OID_IP_IFACE, iid({1}), counting(next), VCFG_FE_WRITE_NO_APPLY) == VCFG_OK) {
            answered = next++;
        }
        killer.join();
        vcmd.kill9();
        const int saved = savedNumber(vcmd.savedFile(), "IP.Interface.1", "LastChange");
        ASSERT_TRUE(saved == answered || saved == next || (saved == -1 && answered == 0))
            << "after kill " << kills << " the file holds " << saved << ", answered was " << answered;
        next = (saved > 0 ? saved : 0) + 1;
        ASSERT_NO_FATAL_FAILURE(vcmd.start());
        ASSERT_EQ(record<IpInterface>(iid({1})).LastChange, static_cast<uint32_t>(next - 1));
    }
    EXPECT_GT(next, kKills / 5) << "hardly anything was written between the kills";
}
