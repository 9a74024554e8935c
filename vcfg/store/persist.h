// The model's file. A crash at any moment leaves the old or the new content, never a part of either.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>

#include "store.h"

namespace vcfg::store {

// Puts the file's content into the store; what this model does not know is skipped and told in `skipped` (may be null).
// VCFG_ERR_NOT_FOUND when there is no file, VCFG_ERR_INVALID when what is there holds no model or is no readable file,
// VCFG_ERR_FAIL when memory or descriptors are short; the store is then as before, and `why` says what is wrong.
int load(const std::string& file, What what, Store* store, Skipped* skipped, std::string* why);

// Moves whatever has that name to `<file>.bad`, in the place of what was kept there before. False when it cannot.
bool setAside(const std::string& file);

// What is about to become the file: written and synced, under its temporary name.
using Ready = std::function<void(const struct stat& fresh)>;

// Makes `text` the file's content; when it answers VCFG_OK, it is on the disk. A file that holds it already is left
// alone, else `ready` (may be empty) is told before the name changes. VCFG_ERR_FAIL leaves the old file, with the
// reason in `why`: also when load() would not take a file of that size any more.
int save(const std::string& file, std::string_view text, const Ready& ready, std::string* why);

}  // namespace vcfg::store
