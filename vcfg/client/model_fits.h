// Whether the program and the library mean the same records.
#pragma once

namespace vcfg {

// False, with one log line for all calls, for a program that was built from another model: it would read shifted
// fields.
bool modelFits();

}  // namespace vcfg
