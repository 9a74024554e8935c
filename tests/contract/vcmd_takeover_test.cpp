// What becomes of the model in the run directory when vcmd ends and starts again.
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>

#include "vcmd_kit.h"

namespace wire = vcfg::wire;
namespace fs = std::filesystem;

namespace {

std::string counting(uint32_t number) {
    return "{\"LastChange\":" + std::to_string(number) + "}";
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKills = 40;
#else
constexpr int kKills = 300;
#endif

class VcmdTakeover : public ::testing::Test {
  protected:
    void SetUp() override {
        vcmd.start();
        interface = addInstance(RDM_OID_IP_IFACE);
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"kept","Status":"Up"})"), VCFG_OK);
        EXPECT_EQ(ask(wire::kSave).code, VCFG_OK);
    }
    fs::path model() const { return vcmd.path("run/model.mdb"); }
    // Starts it again, with the configuration from the file and the state gone.
    void expectMadeAnew(const std::string& reason) {
        ASSERT_NO_FATAL_FAILURE(vcmd.start());
        EXPECT_EQ(vcmd.logged("is made anew: " + reason), 1u) << vcmd.log();
        EXPECT_EQ(record<IpInterface>(interface).Alias, "kept");
        EXPECT_EQ(record<IpInterface>(interface).Status, "Down");
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Up"})"), VCFG_OK);
        EXPECT_EQ(record<IpInterface>(interface).Status, "Up");
    }

    Vcmd vcmd;
    objIndex interface {};
};

}  // namespace

TEST_F(VcmdTakeover, ARestartGoesOnWithAllThatWasAnswered) {
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"unsaved"})"), VCFG_OK);
    vcmd.kill9();
    EXPECT_EQ(record<IpInterface>(interface).Status, "Up") << "reading goes on without it";
    vcmd.start();
    EXPECT_EQ(record<IpInterface>(interface).Status, "Up");
    EXPECT_EQ(record<IpInterface>(interface).Alias, "unsaved");
    EXPECT_TRUE(eventually([&] { return vcmd.savedFile().find("unsaved") != std::string::npos; }));
    EXPECT_EQ(vcmd.logged("made anew"), 0u) << vcmd.log();
}

TEST_F(VcmdTakeover, AWriteWhileItIsAwayIsRefused) {
    vcmd.kill9();
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Alias":"lost"})"), VCFG_ERR_NO_PEER);
    vcmd.start();
    EXPECT_EQ(record<IpInterface>(interface).Alias, "kept");
}

TEST_F(VcmdTakeover, AnotherFileCountsMoreThanWhatIsInMemory) {
    vcmd.kill9();
    const std::string file = vcmd.savedFile();
    std::ofstream(vcmd.data() / "vcfg_config.json", std::ios::trunc) << file;
    expectMadeAnew("it does not go with the model's file");
}

TEST_F(VcmdTakeover, ATruncatedOneIsMadeAnew) {
    vcmd.kill9();
    fs::resize_file(model(), 3 * 4096);
    expectMadeAnew("it is damaged");
}

TEST_F(VcmdTakeover, NoiseIsMadeAnew) {
    std::mt19937 random(5);
    std::uniform_int_distribution<unsigned> byte(0, 255);
    for (const std::streamoff start : {0, 2 * 4096}) {
        vcmd.kill9();
        std::fstream file(model(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(start);
        for (int each = 0; each < 200 * 4096; ++each) {
            file.put(static_cast<char>(byte(random)));
        }
        file.close();
        ASSERT_NO_FATAL_FAILURE(vcmd.start()) << start;
        EXPECT_EQ(record<IpInterface>(interface).Alias, "kept") << start;
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, R"({"Status":"Up"})"), VCFG_OK);
    }
    EXPECT_EQ(vcmd.logged("is made anew"), 2u) << vcmd.log();
}

// Whatever a flipped bit hits, the values are either refused or those that were there.
TEST_F(VcmdTakeover, DamagedPagesNeverEndIt) {
    std::mt19937 random(6);
    for (int each = 0; each < 20; ++each) {
        vcmd.kill9();
        std::fstream file(model(), std::ios::in | std::ios::out | std::ios::binary);
        for (int flips = 0; flips < 50; ++flips) {
            file.seekp(static_cast<std::streamoff>(random() % (40 * 4096)));
            file.put(static_cast<char>(random()));
        }
        file.close();
        ASSERT_NO_FATAL_FAILURE(vcmd.start());
        EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(static_cast<uint32_t>(each))), VCFG_OK);
        EXPECT_EQ(record<IpInterface>(interface).LastChange, static_cast<uint32_t>(each));
    }
}

TEST_F(VcmdTakeover, OfAnotherOwnerIsMadeAnew) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "no right to give a file away";
    }
    vcmd.kill9();
    ASSERT_EQ(chown(model().c_str(), 12345, 12345), 0);
    expectMadeAnew("it belongs to somebody else");
}

TEST_F(VcmdTakeover, LargerThanTheLimitIsMadeAnew) {
    vcmd.kill9();
    ASSERT_NO_FATAL_FAILURE(vcmd.start({"--model-size", "4"}));
    EXPECT_EQ(vcmd.logged("it is larger than the limit"), 1u) << vcmd.log();
    EXPECT_EQ(record<IpInterface>(interface).Alias, "kept");
    EXPECT_EQ(fs::file_size(model()), 4u << 20);
}

TEST_F(VcmdTakeover, WhatIsNoFileIsMadeAnew) {
    vcmd.kill9();
    fs::remove(model());
    ASSERT_EQ(mkfifo(model().c_str(), 0600), 0);
    expectMadeAnew("it is no file");
}

TEST_F(VcmdTakeover, OneFileOfTwoIsMadeAnew) {
    vcmd.kill9();
    fs::remove(model().string() + "-lock");
    expectMadeAnew("it is not complete");
}

TEST_F(VcmdTakeover, AFullModelRefusesAndGoesOn) {
    vcmd.kill9();
    ASSERT_NO_FATAL_FAILURE(vcmd.start({"--model-size", "1"}));
    int code = VCFG_OK;
    std::string why;
    for (uint8_t each = 2; code == VCFG_OK && each < 250; ++each) {
        code = ask(wire::kAdd, RDM_OID_IP_IFACE).code;
        for (int addresses = 0; code == VCFG_OK && addresses < 20; ++addresses) {
            const vcfg::Answer below = ask(wire::kAdd, RDM_OID_IP_IFACE_V4_ADDR, iid({each}));
            code = below.code;
            why = below.body;
        }
    }
    EXPECT_EQ(code, VCFG_ERR_FULL) << why;
    EXPECT_EQ(record<IpInterface>(interface).Alias, "kept");
    EXPECT_EQ(ask(wire::kDelete, RDM_OID_IP_IFACE, iid({3})).code, VCFG_OK);
    EXPECT_EQ(ask(wire::kAdd, RDM_OID_IP_IFACE_V4_ADDR, iid({2})).code, VCFG_OK);
    EXPECT_EQ(writeJson(RDM_OID_IP_IFACE, interface, counting(3)), VCFG_OK);
}

TEST(VcmdRunDirectory, FullOrReadOnlyEndsTheStartWithALine) {
    for (const char* options : {"size=8k,nr_inodes=100,mode=0700", "ro,size=64k,mode=0700"}) {
        Vcmd vcmd;
        if (mount("tmpfs", vcmd.path("run").c_str(), "tmpfs", strncmp(options, "ro,", 3) == 0 ? MS_RDONLY : 0,
                  strchr(options, 's')) != 0) {
            GTEST_SKIP() << "no right to mount a small disk";
        }
        const pid_t pid = vcmd.launch();
        int status = 0;
        EXPECT_TRUE(eventually([&] { return waitpid(pid, &status, WNOHANG) == pid; })) << options;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << options << " " << status;
        EXPECT_FALSE(vcmd.log().empty());
        umount2(vcmd.path("run").c_str(), MNT_DETACH);
    }
}

// The caller's code says what it knows: an answered write is there, another one is there or not.
TEST_F(VcmdTakeover, KilledAtAnyMomentNoAnsweredWriteIsLostAndNoneIsHalf) {
    const auto both = [](uint32_t number) {
        return R"({"Alias":")" + std::to_string(number) + R"(","LastChange":)" + std::to_string(number) + "}";
    };
    killWhileWriting(
        vcmd, kKills, 20240229,
        [&](uint32_t next) { return writeJson(RDM_OID_IP_IFACE, interface, both(next), VCFG_FE_WRITE_NO_APPLY); },
        [this] {
            const IpInterface found = record<IpInterface>(interface);
            EXPECT_TRUE(found.LastChange == 0 || found.Alias == std::to_string(found.LastChange)) << found.Alias.view();
            return found.LastChange;
        });
    EXPECT_EQ(vcmd.logged("made anew"), 0u) << vcmd.log();
}

TEST_F(VcmdTakeover, TheRunDirectorysGroupReadsAndOthersDoNot) {
    struct stat status {};
    ASSERT_EQ(stat(model().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(stat((model().string() + "-lock").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    vcmd.kill9();
    fs::remove(model());
    fs::remove(model().string() + "-lock");
    ASSERT_EQ(chmod(vcmd.path("run").c_str(), 0770), 0);
    vcmd.start();
    ASSERT_EQ(stat(model().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    ASSERT_EQ(stat((model().string() + "-lock").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0660u);
}
