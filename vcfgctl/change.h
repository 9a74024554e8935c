// Changes of the model, each one request whatever is in it.
#pragma once

#include <vcfg/fe.h>

#include <string>
#include <vector>

#include "assignment.h"

namespace vcfgctl {

// What --no-apply and --wait say; an exit status, reported when not kDone.
int takeRequestType(const Call& call, uint32_t* requestType);
// For requests of that type, in milliseconds.
uint32_t patienceFor(uint32_t requestType);

// Refers to the write's values.
vcfg_step_t stepFor(const Write& write);
// Makes all steps or none; what they concern has its instance numbers then. `subject` is what a complaint is about;
// empty when the steps have several. An exit status, reported when not kDone.
int change(std::vector<vcfg_step_t>& steps, uint32_t requestType, const std::string& subject);

}  // namespace vcfgctl
