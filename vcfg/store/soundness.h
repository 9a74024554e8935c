// Whether an environment holds a model from end to end.
#pragma once

#include "lmdb.h"

namespace vcfg::store {

// Every instance with its parent, every value one that could have been written, and free pages that are there once.
// Damaged pages may crash it, or keep it busy without end.
bool isSound(MDB_env* environment);

}  // namespace vcfg::store
