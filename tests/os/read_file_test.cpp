// core/os.cpp on the real operating system.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "core/os.h"

namespace {

class ReadFile : public testing::Test {
  protected:
    ReadFile() {
        std::string name = testing::TempDir() + "os-test-XXXXXX";
        folder = mkdtemp(name.data());
    }
    ~ReadFile() override {
        for (const char* name : {"/file", "/fifo", "/link"}) {
            unlink((folder + name).c_str());
        }
        rmdir(folder.c_str());
    }

    std::string folder;
};

TEST_F(ReadFile, GivesTheContentUpToTheLimit) {
    std::ofstream(folder + "/file") << "4711\n";
    EXPECT_EQ(os::readFile(folder + "/file", 64), "4711\n");
    EXPECT_EQ(os::readFile(folder + "/file", 2), "47");
}

TEST_F(ReadFile, GivesWhatWasWrittenAndNoMore) {
    EXPECT_TRUE(os::writeFile(folder + "/file", std::string("on\0off", 6)));
    EXPECT_EQ(os::readFile(folder + "/file", 64), std::string("on\0off", 6));
    EXPECT_TRUE(os::writeFile(folder + "/file", "off"));
    EXPECT_EQ(os::readFile(folder + "/file", 64), "off");
}

TEST_F(ReadFile, TakesFilesOfProc) {
    EXPECT_TRUE(os::readFile("/proc/self/task/" + std::to_string(getpid()) + "/comm", 1));
}

TEST_F(ReadFile, MissingFileIsNothing) {
    EXPECT_FALSE(os::readFile(folder + "/file", 64));
}

TEST_F(ReadFile, FifoIsNothingAndNobodyWaitsForItsWriter) {
    ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
    EXPECT_FALSE(os::readFile(folder + "/fifo", 64));
    ASSERT_EQ(symlink("fifo", (folder + "/link").c_str()), 0);
    EXPECT_FALSE(os::readFile(folder + "/link", 64));
}

TEST_F(ReadFile, FifoWithAWriterThatSaysNothingIsNothing) {
    ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
    const int writer = open((folder + "/fifo").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_FALSE(os::readFile(folder + "/fifo", 64));
    close(writer);
}

TEST_F(ReadFile, FoldersAndDevicesAreNothing) {
    EXPECT_FALSE(os::readFile(folder, 64));
    EXPECT_FALSE(os::readFile("/dev/zero", 64));
}

TEST_F(ReadFile, NoDescriptorIsLeftOpen) {
    const int before = dup(0);
    close(before);
    EXPECT_FALSE(os::readFile("/dev/zero", 64));
    EXPECT_TRUE(os::readFile("/proc/self/comm", 64));
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

}  // namespace
