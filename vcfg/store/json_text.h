// JSON objects as text.
#pragma once

#include <json-c/json.h>

#include <string>

namespace vcfg::store {

// As json-c prints it, with its flags, but whole or not at all: json-c leaves out what finds no memory, and goes on.
// What is empty stays on its line.
// Throws std::bad_alloc.
std::string textOf(json_object* json, int flags = JSON_C_TO_STRING_PLAIN);

}  // namespace vcfg::store
