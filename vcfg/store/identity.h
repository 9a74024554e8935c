// What tells whether an environment is of this model and this system.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vcfg::store {

struct Identity {
    uint32_t layout;    // of keys, values and notes
    uint32_t wordSize;  // what a record looks like depends on it
    uint64_t model;     // over all objects and parameters, their names, kinds, sizes and places
    char boot[40];      // the kernel's name for this run of the system, NUL-terminated

    bool isReadable(const Identity& other) const {
        return layout == other.layout && wordSize == other.wordSize && model == other.model;
    }
};

// Of this process.
const Identity& ownIdentity();

// Null when the note holds none, which then must not be read.
bool readIdentity(std::string_view note, Identity* identity);

inline std::string_view noteOf(const Identity& identity) {
    return {reinterpret_cast<const char*>(&identity), sizeof identity};
}

}  // namespace vcfg::store
