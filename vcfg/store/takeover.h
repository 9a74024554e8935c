// What a starting vcmd makes of the environment that it finds: its predecessor's, or anything else.
#pragma once

#include <sys/types.h>

#include <string>

#include "environment.h"
#include "file_mark.h"

namespace vcfg::store {

enum class Condition {
    Missing,
    Same,     // goes on where the predecessor ended
    Stale,    // sound, but of another run of the system or another file of the model: its content counts no more
    Unusable  // nothing to go on with, nor to write into
};
struct Finding {
    Condition condition;
    std::string why;  // a line for what is neither Missing nor Same
};

// Looks through all of it in a process of its own, because who reads damaged pages may crash. `file` is what the
// model's file is now; `size` is the most that the environment may have.
Finding inspect(const std::string& runDir, const FileMark& file, size_t size);

// A new environment, which nobody sees before it is published. Throws Failure.
EnvironmentPtr openUnpublished(const std::string& runDir, size_t size);
// Puts it in the place of the one that may be there; false with errno set. `group` may read it, if it is not -1.
bool publish(const std::string& runDir, gid_t group);

}  // namespace vcfg::store
