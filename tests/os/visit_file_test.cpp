// Real files, read by mapping them: large ones, and such as shrink under the reader.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

#include "core/os.h"
#include "mgmt/checksum.h"

#include <gtest/gtest.h>

namespace {

constexpr size_t kMiB = 1u << 20;

template <class Before>
struct Sum {
    const Before& before;
    uint64_t total = 0;
    int piece = 0;

    static void add(std::string_view bytes, void* context) {
        auto& sum = *static_cast<Sum*>(context);
        sum.before(sum.piece++);
        for (const char byte : bytes) {
            sum.total += static_cast<uint8_t>(byte);
        }
    }
};

class MappedFile : public testing::Test {
  protected:
    MappedFile() {
        char name[] = "/tmp/file-test-XXXXXX";
        close(mkstemp(name));
        path_ = name;
    }
    ~MappedFile() override { unlink(path_.c_str()); }

    void fill(size_t size, char byte = '\xFF') {
        FILE* const file = fopen(path_.c_str(), "w");
        const std::string chunk(kMiB, byte);
        for (size_t left = size; left > 0;) {
            left -= fwrite(chunk.data(), 1, std::min(left, chunk.size()), file);
        }
        fclose(file);
    }
    // The sum of the bytes that are seen; `before` is called with the number of each piece before it is looked at.
    template <class Before>
    uint64_t sum(const Before& before) {
        Sum<Before> seen{before};
        EXPECT_TRUE(os::visitFile(path_, Sum<Before>::add, &seen));
        return seen.total;
    }
    static long peakKiB() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    }

    std::string path_;
};
using FileChecksum = MappedFile;

uint16_t fold(uint32_t sum) {
    return static_cast<uint16_t>((sum & 0xFFFF) + (sum >> 16));
}

TEST_F(FileChecksum, CarryOfTheOneFoldIsDropped) {
    fill(70000);
    EXPECT_EQ(0x5FA0, tarnFileCksum(path_));
}

TEST_F(FileChecksum, EmptyFileIsZero) {
    EXPECT_EQ(0, tarnFileCksum(path_));
}

TEST_F(FileChecksum, MissingFileIsZero) {
    unlink(path_.c_str());
    EXPECT_EQ(0, tarnFileCksum(path_));
    EXPECT_EQ(0, tarnFileCksum(""));
}

TEST_F(FileChecksum, WhatIsNoRegularFileIsZero) {
    EXPECT_EQ(0, tarnFileCksum("/tmp"));
    EXPECT_EQ(0, tarnFileCksum("/dev/zero"));
    unlink(path_.c_str());
    ASSERT_EQ(0, mkfifo(path_.c_str(), 0600));
    EXPECT_EQ(0, tarnFileCksum(path_));  // and does not wait for a writer
}

TEST_F(FileChecksum, EveryByteOfALargeFileCountsAndCostsNoMemory) {
    constexpr uint32_t kSize = 100'000'000;
    fill(kSize);
    const long before = peakKiB();
    EXPECT_EQ(fold(kSize * 0xFFu), tarnFileCksum(path_));
    EXPECT_LT(peakKiB() - before, 8 * 1024);
}

TEST_F(FileChecksum, LastByteCounts) {
    for (const size_t size : {size_t{1}, size_t{4096}, size_t{4097}, kMiB, kMiB + 1}) {
        fill(size, '\0');
        FILE* const file = fopen(path_.c_str(), "r+");
        fseek(file, -1, SEEK_END);
        fputc(7, file);
        fclose(file);
        EXPECT_EQ(7, tarnFileCksum(path_)) << size;
    }
}

TEST_F(MappedFile, ThatShrinksInThePieceThatIsLookedAtCountsAsFarAsItIsThere) {
    fill(3 * kMiB);
    EXPECT_EQ(5000u * 0xFF, sum([this](int piece) {
                  if (piece == 0) {
                      ASSERT_EQ(0, truncate(path_.c_str(), 5000));
                  }
              }));
}

TEST_F(MappedFile, ThatShrinksInALaterPieceCountsAsFarAsItIsThere) {
    fill(3 * kMiB);
    EXPECT_EQ((kMiB + 100) * 0xFF, sum([this](int piece) {
                  if (piece == 1) {
                      ASSERT_EQ(0, truncate(path_.c_str(), kMiB + 100));
                  }
              }));
}

TEST_F(MappedFile, ThatVanishesWholeIsZeros) {
    fill(3 * kMiB);
    EXPECT_EQ(0u, sum([this](int) { ASSERT_EQ(0, truncate(path_.c_str(), 0)); }));
    fill(1000);
    EXPECT_EQ(1000u * 0xFF, sum([](int) {}));
}

// The kernel's own files say that they are regular and have a size.
TEST(FileThatCannotBeMapped, IsNotVisited) {
    const std::string path = "/sys/devices/system/cpu/online";
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0) {
        GTEST_SKIP() << "there is none here";
    }
    bool isVisited = false;
    EXPECT_FALSE(os::visitFile(
        path, [](std::string_view, void* visited) { *static_cast<bool*>(visited) = true; }, &isVisited));
    EXPECT_FALSE(isVisited);
}

TEST_F(MappedFile, IsReadByTwoThreadsWhileItShrinksAndGrows) {
    std::atomic<bool> done{false};
    const auto read = [&] {
        while (!done) {
            tarnFileCksum(path_);
        }
    };
    std::thread first(read);
    std::thread second(read);
    for (int each = 0; each < 200; ++each) {
        ASSERT_EQ(0, truncate(path_.c_str(), 2 * kMiB));
        ASSERT_EQ(0, truncate(path_.c_str(), 10));
    }
    done = true;
    first.join();
    second.join();
}

TEST_F(MappedFile, OtherBusErrorsStillEndTheProcess) {
    fill(1000);
    tarnFileCksum(path_);
    EXPECT_DEATH(raise(SIGBUS), "");
}

}  // namespace
