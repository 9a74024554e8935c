// The model's file. A crash at any moment leaves the old or the new content, never a part of either.
#pragma once

#include <string>
#include <vector>

#include "store.h"

namespace vcfg::store {

// Puts the file's content into the store; what this model does not know is skipped, a line each in `skipped` (may be
// null). VCFG_ERR_NOT_FOUND when there is no file, VCFG_ERR_INVALID when it holds no model, VCFG_ERR_FAIL when it
// cannot be read; the store is then as before, and `why` says what is wrong.
int load(const std::string& file, Store* store, std::vector<std::string>* skipped, std::string* why);

// Writes the file; when it answers VCFG_OK, the content is on the disk. VCFG_ERR_FAIL leaves the old file, with the
// reason in `why`.
int save(const std::string& file, const Store& store, std::string* why);

}  // namespace vcfg::store
