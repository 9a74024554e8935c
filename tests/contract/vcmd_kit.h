// A real vcmd in directories of its own, and this process on its bus as endpoint 200.
#pragma once

#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "client/fe_client.h"
#include "client/fe_wire.h"

class Vcmd {
  public:
    explicit Vcmd(const std::string& base = "/tmp");
    ~Vcmd();
    Vcmd(const Vcmd&) = delete;
    Vcmd& operator=(const Vcmd&) = delete;

    void start(const std::vector<std::string>& options = {});  // returns when it answers
    pid_t launch(const std::vector<std::string>& options = {});
    int stop();   // with SIGTERM; its wait status
    int await();  // that it ends by itself; its wait status
    void kill9();
    void powerCycle();  // what is in memory is gone, the run directory too; returns when it answers again
    bool answers() const;
    pid_t pid() const { return pid_; }

    // What it keeps, and what it says.
    std::filesystem::path home() const { return home_; }
    std::filesystem::path data() const { return home_ / "data"; }
    std::string savedFile() const;
    std::string log() const;
    size_t logged(const std::string& part) const;  // lines that contain it

    // A shell script as hook; `kind` is "apply" or "refresh".
    void hook(const std::string& kind, const std::string& pattern, const std::string& script);
    std::string file(const std::string& name) const;  // content of a file in home, empty when there is none
    std::filesystem::path path(const std::string& name) const { return home_ / name; }

  private:
    std::filesystem::path home_;
    pid_t pid_ = -1;
};

// What happens to the files of a directory from now on: writes, and names that come, go or change.
class DirectoryChanges {
  public:
    explicit DirectoryChanges(const std::filesystem::path& directory);
    ~DirectoryChanges();
    DirectoryChanges(const DirectoryChanges&) = delete;
    DirectoryChanges& operator=(const DirectoryChanges&) = delete;
    size_t count() const;  // since it was asked last

  private:
    int events_;
};

// One request to vcmd, as libvcfg makes it.
vcfg::Answer ask(uint32_t request, uint32_t oid = 0, const objIndex& iid = {}, const std::string& payload = "",
                 uint32_t timeoutMs = 20000);
// kWrite's payload.
std::string writeOf(const std::string& json, uint32_t requestType = VCFG_FE_WRITE_APPLY);
int writeJson(uint32_t oid, const objIndex& iid, const std::string& json, uint32_t requestType = VCFG_FE_WRITE_APPLY);
// Has the parts that were sent become the model; a whole model in one part.
vcfg::Answer become(uint32_t requestType = VCFG_FE_WRITE_APPLY);
vcfg::Answer load(const std::string& model, uint32_t requestType = VCFG_FE_WRITE_APPLY);
objIndex iid(std::initializer_list<uint8_t> numbers);
objIndex addInstance(uint32_t oid, const objIndex& parent = {});

using ReadFunction = int (*)(uint32_t, objIndex*, void**);

template <class RecordType>
RecordType record(objIndex at, ReadFunction function = vcfgFeObjStructGetWithoutUpdate) {
    void* bytes = nullptr;
    EXPECT_EQ(function(vcfg::ObjectId<RecordType>::value, &at, &bytes), VCFG_OK);
    RecordType found{};
    if (bytes != nullptr) {
        memcpy(static_cast<void*>(&found), bytes, sizeof found);
    }
    free(bytes);
    return found;
}
// The code of a read whose record does not matter.
int codeOf(ReadFunction function, uint32_t oid, objIndex at = {});

// `write` puts a number into the model, always the next one, until vcmd is killed at a random moment; started again, it
// has what `stored` says: the last number that was answered, or the one that was under way. And again, `kills` times.
void killWhileWriting(Vcmd& vcmd, int kills, unsigned seed, const std::function<int(uint32_t number)>& write,
                      const std::function<uint32_t()>& stored);

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = std::chrono::seconds(20));
