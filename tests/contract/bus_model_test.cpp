// What a process reads of the model, whatever becomes of the others.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "client/model_lease.h"
#include "model_world.h"
#include "store/identity.h"

namespace store = vcfg::store;

namespace {

class BusModel : public BusWorld {
  protected:
    std::string data() const { return store::dataFile(directory); }

    // A reader begins with nothing: it is a process of its own.
    int codeOfRead() {
        return statusOf(launch([] {
            objIndex iid = instance(1);
            void* record = nullptr;
            const int code = vcfgFeObjStructGetWithoutUpdate(RDM_OID_IP_IFACE, &iid, &record);
            free(record);
            return -code;
        }));
    }
    void expectRefused(const std::string& reason) {
        EXPECT_EQ(codeOfRead(), -VCFG_ERR_FAIL) << reason;
        EXPECT_NE(logged().find(reason), std::string::npos) << reason;
    }
    size_t usedKiB() const {
        struct stat status {};
        stat(data().c_str(), &status);
        return static_cast<size_t>(status.st_blocks) / 2;
    }
};

// Whether this process has the model's file open, and hands it on to no program that it starts.
bool keepsTheModelToItself() {
    size_t open = 0;
    size_t handedOn = 0;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(file, gone).filename() == "model.mdb") {
            open += 1;
            handedOn += (fcntl(std::stoi(file.path().filename()), F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
        }
    }
    return open > 0 && handedOn == 0;
}

unsigned numberOfKills() {
    const char* wanted = getenv("TARN_TEST_KILLS");
    return wanted != nullptr ? static_cast<unsigned>(atoi(wanted)) : 400;
}

// Reads until it is killed; ends by itself only when something is wrong.
int readForEver(const Shared& acknowledged) {
    int64_t last = 0;
    for (;;) {
        const uint32_t least = acknowledged->load();
        const int64_t number = readPair();
        if (number < int64_t{least} || number < last) {
            fprintf(stderr, "read %lld after %lld, acknowledged was %u\n", static_cast<long long>(number),
                    static_cast<long long>(last), least);
            return 1;
        }
        last = number;
    }
}

int writeForEver(const std::string& directory, const Shared& acknowledged) {
    store::Store model = reopenModel(directory);
    for (uint32_t number = acknowledged->load() + 1;; ++number) {
        std::string why;
        if (writePair(model, number, &why) != VCFG_OK) {
            fprintf(stderr, "%u: %s\n", number, why.c_str());
            return 1;
        }
        acknowledged->store(number);
    }
}

}  // namespace

TEST_F(BusModel, IsReadWhileNobodyServes) {
    { store::Store model = makeModel(directory); }
    EXPECT_EQ(codeOfRead(), VCFG_OK);
    EXPECT_EQ(logged(), "");
}

TEST_F(BusModel, NoneIsNoPeer) {
    EXPECT_EQ(codeOfRead(), -VCFG_ERR_NO_PEER);
    EXPECT_NE(logged().find("there is no model; vcmd has not made one yet"), std::string::npos);
}

TEST_F(BusModel, OfAVcmdThatBeginsIsWaitedFor) {
    const Process vcmd([this](const Process::Ready& ready) {
        serve(VCFG_EID_VCMD);
        ready();
        const Message question = receive();
        const store::Store model = makeModel(directory);
        answer(question, "");
        receive(0);
    });
    EXPECT_EQ(codeOfRead(), VCFG_OK);
}

TEST_F(BusModel, AnIterationWritesTheInstanceFoundAndEndsWithoutALine) {
    { store::Store model = makeModel(directory); }
    EXPECT_EQ(statusOf(launch([] {
                  objIndex iid{};
                  int found = 0;
                  void* record = nullptr;
                  while (vcfgFeObjStructGetNext(RDM_OID_IP_IFACE, &iid, &record) == VCFG_OK) {
                      free(record);
                      found += iid.idx[0] == found + 1 ? 1 : 100;
                  }
                  return record == nullptr ? found : -1;
              })),
              2);
    EXPECT_EQ(logged(), "");
}

TEST_F(BusModel, TheLogLevelOfTheDaemonIsLoaded) {
    {
        store::Store model = makeModel(directory);
        for (const char* values : {R"({"Daemon":"other","Level":3})", R"({"Daemon":"tarn","Level":7})"}) {
            objIndex iid{};
            ASSERT_EQ(model.add(RDM_OID_DEBUG_LOG, &iid, nullptr), VCFG_OK);
            ASSERT_EQ(model.write(RDM_OID_DEBUG_LOG, iid, store::parseObject(values, nullptr).get(), nullptr), VCFG_OK);
        }
    }
    EXPECT_FALSE(vlog_levelAllow(VLOG_DEBUG));
    EXPECT_EQ(VCFG_OK, vcfgFeDebugCfgObjInit("tarn"));
    EXPECT_TRUE(vlog_levelAllow(VLOG_DEBUG));
    EXPECT_EQ(VCFG_OK, vcfgFeDebugCfgObjInit("other"));
    EXPECT_FALSE(vlog_levelAllow(VLOG_INFO));
    EXPECT_EQ(VCFG_OK, vcfgFeDebugCfgObjInit("unknown"));
}

TEST_F(BusModel, FileThatNeedsMoreMemoryThanThereIsLeavesItAsItWas) {
    store::Store model = makeModel(directory, 512 << 10);
    std::string objects;
    for (int each = 1; each <= 250; ++each) {
        objects += (each > 1 ? "," : "") + ("\"IP.Interface." + std::to_string(each)) + "\":{\"Enable\":true}";
    }
    std::string why;
    const std::string text = R"({"version":1,"objects":{)" + objects + "}}";
    EXPECT_EQ(model.fromText(text, store::What::All, store::Unknown::Refuse, nullptr, &why), VCFG_ERR_FULL);
    EXPECT_NE(why.find("the model's memory is full"), std::string::npos) << why;
    EXPECT_EQ(writePair(model, 1), VCFG_OK);
}

TEST_F(BusModel, OfAnotherModelIsRefusedWithOneLine) {
    { store::Store model = makeModel(directory); }
    store::EnvironmentPtr environment = store::openForWriting(data(), store::kDefaultSize);
    store::Identity other = store::ownIdentity();
    ++other.model;
    store::Transaction change(environment.get(), "test");
    change.putNote(store::Note::Identity, store::noteOf(other));
    change.commit();
    const pid_t reader = launch([] {
        objIndex iid = instance(1);
        void* record = nullptr;
        int code = VCFG_OK;
        for (int tries = 0; tries < 3; ++tries) {
            code = vcfgFeObjStructGetWithoutUpdate(RDM_OID_IP_IFACE, &iid, &record);
        }
        return -code;
    });
    EXPECT_EQ(statusOf(reader), -VCFG_ERR_FAIL);
    const std::string lines = logged();
    EXPECT_NE(lines.find("is of another data model"), std::string::npos) << lines;
    EXPECT_EQ(lines.find("another data model"), lines.rfind("another data model")) << lines;
}

TEST_F(BusModel, ATruncatedOneIsRefused) {
    { store::Store model = makeModel(directory); }
    ASSERT_EQ(truncate(data().c_str(), 5 * 4096), 0);
    expectRefused("is truncated");
}

TEST_F(BusModel, NoiseIsRefused) {
    { store::Store model = makeModel(directory); }
    std::mt19937 random(7);
    std::string noise(64 << 10, '\0');
    for (char& each : noise) {
        each = static_cast<char>(random());
    }
    std::ofstream(data(), std::ios::trunc) << noise;
    expectRefused("model.mdb");
}

// Its first page as a program of the other word size writes it: page number, flags and the rest are four bytes earlier
// or later.
TEST_F(BusModel, OfAnotherWordSizeIsRefused) {
    { store::Store model = makeModel(directory); }
    std::string page(2 * 4096, '\0');
    const size_t header = sizeof(void*) == 8 ? 12 : 16;
    const uint32_t start[] = {0xBEEFC0DE, 1, 0, 8u << 20};
    for (const size_t at : {size_t{0}, size_t{4096}}) {
        page[at + header - 6] = 0x08;  // a meta page
        memcpy(page.data() + at + header, start, sizeof start);
    }
    std::ofstream(data(), std::ios::trunc) << page;
    expectRefused("model.mdb");
}

TEST_F(BusModel, OfAnotherOwnerIsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "no right to give a file away";
    }
    { store::Store model = makeModel(directory); }
    ASSERT_EQ(chown(data().c_str(), 12345, 12345), 0);
    EXPECT_EQ(codeOfRead(), -VCFG_ERR_RIGHTS);
    EXPECT_NE(logged().find("belongs to somebody else"), std::string::npos);
}

TEST_F(BusModel, IsHandedOnToNoProgram) {
    const store::Store model = makeModel(directory);
    EXPECT_TRUE(keepsTheModelToItself());
    EXPECT_EQ(statusOf(launch([] { return readPair() == 0 && keepsTheModelToItself() ? 0 : 1; })), 0);
}

// Or what an earlier run of the system has left would be taken for its own.
TEST_F(BusModel, KnowsWhichRunOfTheSystemItIsOf) {
    std::string boot;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), boot);
    const std::string kept = store::ownIdentity().boot;
    EXPECT_EQ(kept.substr(0, kept.find('\n')), boot);
}

TEST_F(BusModel, OfRootIsTrustedInAnotherUsersDirectory) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "no right to give a directory away";
    }
    { store::Store model = makeModel(directory); }
    ASSERT_EQ(chown(directory.c_str(), 12345, 12345), 0);
    EXPECT_EQ(codeOfRead(), VCFG_OK);
}

TEST_F(BusModel, ASuccessorsIsNoticed) {
    { store::Store model = makeModel(directory); }
    Shared goesOn;
    const pid_t reader = launch([&] {
        const int64_t before = readPair();
        goesOn->store(1);
        return before == 0 && within(kSoon, [] { return readPair() == 7; }) ? 0 : 1;
    });
    ASSERT_TRUE(within(kSoon, [&] { return goesOn->load() == 1; }));
    store::Store model = makeModel(directory);
    EXPECT_EQ(writePair(model, 7), VCFG_OK);
    EXPECT_EQ(statusOf(reader), 0);
}

TEST_F(BusModel, AForkedProcessReadsOnAndItsParentToo) {
    { store::Store model = makeModel(directory); }
    EXPECT_EQ(statusOf(launch([] {
                  if (readPair() != 0) {
                      return 1;
                  }
                  // As a daemon does at its start: the middle one ends before the last one reads.
                  Shared result;
                  const pid_t middle = launch([&] {
                      launch([&] {
                          prctl(PR_SET_PDEATHSIG, 0);
                          result->store(readPair() == 0 && readPair() == 0 ? 1 : 2);
                          return 0;
                      });
                      within(kSoon, [&] { return result->load() != 0; });
                      return readPair() == 0 ? 0 : 1;
                  });
                  const bool good = statusOf(middle) == 0 && result->load() == 1;
                  return good && readPair() == 0 ? 0 : 2;
              })),
              0);
}

TEST_F(BusModel, ChildrenThatEndLeaveTheirParentsReadsAlone) {
    store::Store model = makeModel(directory);
    Shared ends;
    const pid_t parent = launch([&] {
        vcfg::ModelLease held;
        if (held.take() != VCFG_OK) {
            return 1;
        }
        if (statusOf(launch([] { return readPair() >= 0 ? 0 : 1; })) != 0) {
            return 2;
        }
        ends->store(1);
        within(kSoon, [&] { return ends->load() == 2; });
        const store::Found found = held.view().get(RDM_OID_IP_IFACE, instance(1));
        uint32_t number = 1;
        memcpy(&number, store::recordOf(found.value) + offsetof(IpInterface, LastChange), sizeof number);
        return number == 0 ? 0 : 3;
    });
    ASSERT_TRUE(within(kSoon, [&] { return ends->load() == 1; }));
    for (uint32_t number = 1; number < 100; ++number) {
        ASSERT_EQ(writePair(model, number), VCFG_OK);
    }
    ends->store(2);
    EXPECT_EQ(statusOf(parent), 0) << "what a child did has freed the pages that its parent still read";
}

TEST_F(BusModel, TwoHundredReadersAtOnceReadOneStateEach) {
    store::Store model = makeModel(directory);
    std::vector<pid_t> readers;
    for (int each = 0; each < 200; ++each) {
        readers.push_back(launch([] {
            for (int reads = 0; reads < 200; ++reads) {
                if (readPair() < 0) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (uint32_t number = 1; number <= 2000; ++number) {
        ASSERT_EQ(writePair(model, number), VCFG_OK);
    }
    for (const pid_t reader : readers) {
        EXPECT_EQ(statusOf(reader), 0);
    }
}

TEST_F(BusModel, ThreadsReadAtTheSameTime) {
    { store::Store model = makeModel(directory); }
    EXPECT_EQ(statusOf(launch([] {
                  std::atomic<int> bad{0};
                  std::vector<std::thread> threads;
                  for (int each = 0; each < 8; ++each) {
                      threads.emplace_back([&] {
                          for (int reads = 0; reads < 2000; ++reads) {
                              bad += readPair() == 0 ? 0 : 1;
                          }
                      });
                  }
                  for (std::thread& thread : threads) {
                      thread.join();
                  }
                  return bad.load() == 0 ? 0 : 1;
              })),
              0);
}

TEST_F(BusModel, AReaderStoppedInAWalkCostsNothingWhileWritesPass) {
    store::Store model = makeModel(directory);
    const pid_t reader = launch([] {
        objIndex iid{};
        void* record = nullptr;
        int steps = 0;
        while (vcfgFeObjStructGetNextWithoutUpdate(RDM_OID_IP_IFACE, &iid, &record) == VCFG_OK) {
            free(record);
            if (++steps == 1) {
                raise(SIGSTOP);
            }
        }
        return steps;
    });
    ASSERT_EQ(waitpid(reader, nullptr, WUNTRACED), reader);
    for (uint32_t number = 1; number <= 100000; ++number) {
        ASSERT_EQ(writePair(model, number), VCFG_OK);
    }
    EXPECT_LT(usedKiB(), 1024u);
    kill(reader, SIGCONT);
    EXPECT_EQ(statusOf(reader), 2);
}

TEST_F(BusModel, AReaderStoppedWithinAReadLeadsToACleanRefusalAtMost) {
    constexpr size_t kSmall = 1 << 20;
    store::Store model = makeModel(directory, kSmall);
    const pid_t reader = launch([] {
        vcfg::ModelLease lease;
        return lease.take() == VCFG_OK && raise(SIGSTOP) == 0 ? 0 : 1;
    });
    ASSERT_EQ(waitpid(reader, nullptr, WUNTRACED), reader);
    int code = VCFG_OK;
    std::string why;
    uint32_t number = 0;
    while (code == VCFG_OK && number < 100000) {
        code = writePair(model, ++number, &why);
    }
    EXPECT_EQ(code, VCFG_ERR_FULL);
    EXPECT_NE(why.find("full"), std::string::npos) << why;
    EXPECT_LE(usedKiB(), kSmall / 1024 + 64);
    EXPECT_EQ(statusOf(launch([=] { return readPair() == int64_t{number} - 1 ? 0 : 1; })), 0)
        << "a refused write is seen, or an acknowledged one is not";
    kill(reader, SIGKILL);
    EXPECT_EQ(statusOf(reader), -SIGKILL);
    EXPECT_EQ(writePair(model, number + 1), VCFG_OK) << "the dead reader's pages are not used again";
}

TEST_F(BusModel, KilledReadersAndWritersTearNothingAndLoseNothing) {
    { store::Store model = makeModel(directory); }
    Shared acknowledged;
    const pid_t witness = launch([&] { return readForEver(acknowledged); });
    std::mt19937 random(11);
    std::uniform_int_distribution<useconds_t> pause(100, 3000);
    for (unsigned kills = 0; kills < numberOfKills(); kills += 2) {
        const uint32_t before = acknowledged->load();
        const pid_t writer = launch([&] { return writeForEver(directory, acknowledged); });
        const pid_t reader = launch([&] { return readForEver(acknowledged); });
        while (kills % 4 == 0 && acknowledged->load() == before) {
            usleep(100);
        }
        usleep(pause(random));
        kill(reader, SIGKILL);
        EXPECT_EQ(statusOf(reader), -SIGKILL);
        usleep(pause(random) / 2);
        kill(writer, SIGKILL);
        ASSERT_EQ(statusOf(writer), -SIGKILL);
    }
    EXPECT_EQ(statusOf(launch([&] { return readPair() >= int64_t{acknowledged->load()} ? 0 : 1; })), 0);
    EXPECT_GE(acknowledged->load(), numberOfKills() / 4) << "a writer that lives is answered";
    EXPECT_LE(usedKiB(), store::kDefaultSize / 1024) << "the dead make it grow";
    kill(witness, SIGKILL);
    EXPECT_EQ(statusOf(witness), -SIGKILL);
}

TEST_F(BusModel, ARecordSaysWhoWroteItWhenAndInWhichChange) {
    store::Store model = makeModel(directory);
    model.writeAs("eid 9");
    ASSERT_EQ(writePair(model, 1), VCFG_OK);
    store::Origin first{};
    store::Origin second{};
    ASSERT_EQ(model.originOf(RDM_OID_IP_IFACE, instance(1), &first), VCFG_OK);
    ASSERT_EQ(model.originOf(RDM_OID_IP_IFACE, instance(2), &second), VCFG_OK);
    EXPECT_STREQ(first.by, "eid 9");
    EXPECT_EQ(first.change, second.change) << "one change has one number";
    EXPECT_GT(first.monotonicUs, 0u);
    model.writeAs("eid 10");
    ASSERT_EQ(writePair(model, 1), VCFG_OK);
    ASSERT_EQ(model.originOf(RDM_OID_IP_IFACE, instance(1), &second), VCFG_OK);
    EXPECT_STREQ(second.by, "eid 9") << "nothing has changed";
    ASSERT_EQ(writePair(model, 2), VCFG_OK);
    ASSERT_EQ(model.originOf(RDM_OID_IP_IFACE, instance(1), &second), VCFG_OK);
    EXPECT_STREQ(second.by, "eid 10");
    EXPECT_GT(second.change, first.change);
    EXPECT_GE(second.monotonicUs, first.monotonicUs);
}
