// A model in a run directory that other processes read, and the processes that do.
#pragma once

#include <sys/mman.h>

#include <atomic>
#include <functional>
#include <string>

#include "bus_world.h"
#include "store/store.h"

// The store that writes the model of a run directory. The process that holds one must not read by the front end.
vcfg::store::Store makeModel(const std::string& directory, size_t size = vcfg::store::kDefaultSize);
vcfg::store::Store reopenModel(const std::string& directory, size_t size = vcfg::store::kDefaultSize);

objIndex instance(uint8_t number);
// Both instances of IP.Interface say this number, in one change; a vcfg_code.
int writePair(vcfg::store::Store& store, uint32_t number, std::string* why = nullptr);
// The number that both say in one state; -1 when they differ, -2 when they cannot be read.
int64_t readPair();

// Runs `body` in a process of its own; its result is the exit status.
pid_t launch(const std::function<int()>& body);
int statusOf(pid_t process);  // waits; negative: the signal that ended it

// A number that this process and those that it launches share.
class Shared {
  public:
    Shared();
    ~Shared();
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    std::atomic<uint32_t>* operator->() const { return number_; }

  private:
    std::atomic<uint32_t>* number_;
};
