// The store's own environment, when the system refuses what a change needs: the next one is made, by the same store,
// and who reads in another process goes on reading.
#include "store/store.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <cstdlib>
#include <filesystem>

#include "injector.h"

namespace fs = std::filesystem;
using namespace vcfg::store;

namespace {

// A change has two to four calls, as its pages lie; the last one is that which cannot be ended.
constexpr uint32_t kMostCalls = 4;
constexpr uint32_t kMostChanges = 40;
constexpr objIndex kOne = {1, {1, 0, 0, 0, 0, 0}};

int name(Store& store, const std::string& alias) {
    const JsonPtr parameters(json_object_new_object());
    json_object_object_add(parameters.get(), "Alias", json_object_new_string(alias.c_str()));
    return store.write(RDM_OID_IP_IFACE, kOne, parameters.get(), nullptr);
}

std::string nameOf(const void* record) {
    return record != nullptr ? std::string(static_cast<const IpInterface*>(record)->Alias.view()) : "";
}

std::string nameIn(const View& view) {
    const Found found = view.get(RDM_OID_IP_IFACE, kOne);
    return nameOf(found.value != nullptr ? recordOf(found.value) : nullptr);
}

std::string nameIn(const Store& store) {
    const void* record = nullptr;
    store.get(RDM_OID_IP_IFACE, kOne, &record);
    return nameOf(record);
}

// Another process that has the model open. It answers what it sees.
class Reader {
  public:
    explicit Reader(const std::string& directory) {
        EXPECT_EQ(pipe(ask_), 0);
        EXPECT_EQ(pipe(answer_), 0);
        child_ = fork();
        if (child_ == 0) {
            close(ask_[1]);
            close(answer_[0]);
            answerAll(directory);
        }
        close(ask_[0]);
        close(answer_[1]);
        EXPECT_EQ(sees(), "");
    }
    ~Reader() {
        close(ask_[1]);
        waitpid(child_, nullptr, 0);
        close(answer_[0]);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::string sees() const {
        char seen[64] = {};
        EXPECT_EQ(write(ask_[1], "?", 1), 1);
        EXPECT_GT(read(answer_[0], seen, sizeof seen - 1), 0);
        return seen;
    }

  private:
    [[noreturn]] void answerAll(const std::string& directory) const {
        EnvironmentPtr environment;
        Files files;
        std::string why;
        if (openForReading(directory, &environment, &files, &why) != VCFG_OK) {
            _exit(1);
        }
        Snapshot snapshot(environment.get());
        for (char question = 0; read(ask_[0], &question, 1) == 1;) {
            snapshot.rest();
            snapshot.renew();
            const std::string seen = nameIn(snapshot.view());
            if (write(answer_[1], seen.c_str(), seen.size() + 1) < 1) {
                break;
            }
        }
        _exit(0);
    }

    int ask_[2] = {};
    int answer_[2] = {};
    pid_t child_ = -1;
};

struct Disarmed {
    ~Disarmed() { faults::disarm(); }
};

class StoreFaults : public testing::Test {
  protected:
    StoreFaults() {
        std::string name = "/tmp/store_faults_XXXXXX";
        directory = mkdtemp(name.data());
        objIndex at{};
        store = std::make_unique<Store>(openForWriting(dataFile(directory), kDefaultSize));
        store->liesIn(dataFile(directory));
        EXPECT_EQ(store->add(RDM_OID_IP_IFACE, &at, nullptr), VCFG_OK);
    }
    ~StoreFaults() override {
        store.reset();
        fs::remove_all(directory);
    }

    // One of the calls after the other.
    int nameWithFault(uint32_t number, const std::string& alias) {
        faults::arm(faults::Kind::System, 1 + number % kMostCalls);
        const Disarmed behind;
        const faults::Exposed now;
        return name(*store, alias);
    }

    void changeUntilLost() {
        for (uint32_t number = 1; number <= kMostChanges; ++number) {
            nameWithFault(number, "lost" + std::to_string(number));
        }
    }

    std::string directory;
    std::unique_ptr<Store> store;
};

TEST_F(StoreFaults, EachChangeIsMadeWholeOrNotAtAllAndTheNextOneIsMade) {
    const Reader reader(directory);
    for (uint32_t number = 1; number <= kMostChanges; ++number) {
        const std::string before = nameIn(*store);
        const std::string wanted = "wanted" + std::to_string(number);
        const int code = nameWithFault(number, wanted);
        EXPECT_EQ(nameIn(*store), code == VCFG_OK ? wanted : before);
        EXPECT_EQ(reader.sees(), nameIn(*store));
        EXPECT_EQ(name(*store, "next" + std::to_string(number)), VCFG_OK);
        EXPECT_EQ(reader.sees(), "next" + std::to_string(number));
    }
}

// Or the file might never say what the model does.
TEST_F(StoreFaults, WhatCouldNotBeEndedIsTakenForChanged) {
    uint32_t made = 0;
    const uint32_t before = store->configurationRevision();
    for (uint32_t number = 1; number <= kMostChanges; ++number) {
        made += nameWithFault(number, "x" + std::to_string(number)) == VCFG_OK ? 1 : 0;
    }
    EXPECT_GT(store->configurationRevision(), before + made);
}

// Their places are in a file that all of them write. What ends here takes those of its whole process along.
void takePlacesOfReaders(const std::string& directory) {
    EnvironmentPtr environment;
    Files files;
    std::string why;
    ASSERT_EQ(openForReading(directory, &environment, &files, &why), VCFG_OK);
    const Snapshot snapshot(environment.get());
}

TEST_F(StoreFaults, StoreWhosePlaceAmongTheReadersIsTakenGoesOn) {
    for (const char* alias : {"one", "two"}) {
        takePlacesOfReaders(directory);
        EXPECT_EQ(name(*store, alias), VCFG_OK);
        EXPECT_EQ(nameIn(*store), alias);
    }
}

// Its file is another's now.
TEST_F(StoreFaults, StoreThatCannotBeOpenedAnewIsLost) {
    fs::rename(dataFile(directory), directory + "/elsewhere");
    EXPECT_THROW(changeUntilLost(), Lost);
    EXPECT_FALSE(fs::exists(dataFile(directory)));
}

TEST_F(StoreFaults, StoreWithoutDescriptorsIsLost) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{3, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_THROW(changeUntilLost(), Lost);
    setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
