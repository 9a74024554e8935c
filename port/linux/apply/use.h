// What becomes of a thing that is enabled or disabled: of the gateway's own while it is enabled, with a status that is
// told here; of one that the network gave while its owner reports it as "Enabled".
#pragma once

#include "values.h"

bool isEnabled(const std::optional<Values>& values);
bool isSwitchedOn(const Change& change);
// Whether the parameter that says where it comes from names nobody else.
bool isOwn(const Values& values, const char* origin);
// Whether it is to be in use from now on; `status` is what the data model says of it now.
bool isUsed(const Change& change, const char* origin, const std::string& status);

// Tells the data model what has come of it, where its owner does not. Returns `done`: whether that is as wanted.
bool tellUse(const Change& change, const char* origin, bool used, bool done);
// Says on standard error why the write cannot do what it says, and tells the status that comes of it. Always false.
bool refuse(const Change& change, const char* status, const std::string& why);
// The same for a request, which has no status.
bool complain(const std::string& path, const std::string& why);
