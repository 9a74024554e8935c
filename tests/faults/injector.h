// Makes one call of a kind fail: an allocation, a call of the framework, or a call of the operating system. The calls
// are counted while they are armed; the one with the number that was asked for fails.
//
//   faults::arm(Kind::Memory);        // only counts
//   event();
//   const uint32_t calls = faults::disarm();
//   faults::arm(Kind::Memory, 3);     // the third one fails
#pragma once

#include <cstdint>

namespace faults {

enum class Kind : uint32_t { None, Memory, Framework, System };
const char* nameOf(Kind kind);

// `number` is that of the call that fails, from 1 on; 0 for none.
void arm(Kind kind, uint32_t number = 0);
uint32_t disarm();  // how many calls of that kind there were
bool hasStruck();   // since it was last armed
// From where the call that failed came, for a person to read.
void tellWhere(int descriptor);

// From now on each new thread is exposed, and so is this one; a call that fails is told at once, on standard error.
void exposeAll();

// For the functions that calls are led to: whether this one fails.
bool strikes(Kind kind);

// Calls count and fail where the code that is tried runs, and not in what plays the framework or the system for it, nor
// in the test itself.
class Exposed {
  public:
    Exposed();
    ~Exposed();
    Exposed(const Exposed&) = delete;
    Exposed& operator=(const Exposed&) = delete;

  private:
    bool outside_;
};
class Spared {
  public:
    Spared();
    ~Spared();
    Spared(const Spared&) = delete;
    Spared& operator=(const Spared&) = delete;

  private:
    bool outside_;
};

// Pieces of memory that have been taken and not been given back, by the libraries, too.
int64_t piecesInUse();

}  // namespace faults
