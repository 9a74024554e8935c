// What the requests that change the model have in common: one transaction each, and the apply hooks that follow it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "requests.h"
#include "store/edit.h"

namespace vcfg::vcmd {

enum class Apply { None, Later, Wait };
// False for what is no request type.
bool toApply(uint32_t requestType, Apply& apply);

// Each makes the request's changes, and may be run twice; it answers a vcfg_code, with the reason of a refusal.
using Replacement = std::function<int(std::vector<store::Edited>* edited, std::string* why)>;
using Operation = std::function<int(store::Edit& edit, std::string* why)>;
// Makes them whole or not at all, sees to the hooks, and to the answer: a refusal, or what was confirmed meanwhile.
void changeModel(Vcmd& vcmd, Staged& staged, Apply apply, const Replacement& replacement);
void changeModel(Vcmd& vcmd, Staged& staged, Apply apply, const Operation& operation);

// The parameters that a text names. Whoever keeps a table may mark an instance in them as one that goes.
int writeText(store::Edit& edit, uint32_t oid, objIndex* iid, std::string_view text, std::string* why);

// Several changes at once.
void changeSeveral(Vcmd& vcmd, Staged& staged);

}  // namespace vcfg::vcmd
