// "PATH=VALUE", and the writes that many of them are.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "json.h"
#include "select.h"
#include "verb.h"

namespace vcfgctl {

struct Assignment {
    Selection target;  // with a parameter
    std::string path;
    std::string value;
};

// All that is written into one object.
struct Write {
    const vcfg::model::Object* object;
    objIndex iid;
    JsonPtr values;
    std::string subject;  // of a complaint: the parameter's path when there is only one, else the object's
};

// All are an exit status, reported when not kDone.

// Path and value are good, as far as the model says; what is there is not looked at.
int parseAssignment(const Call& call, const std::string& text, std::vector<Assignment>* assignments);
// One write per object, of the instances that are there now. No parameter may be written twice.
int toWrites(const std::vector<Assignment>& assignments, std::vector<Write>* writes);
// Adds one value to the writes, for that instance.
int addValue(const Assignment& assignment, const objIndex& iid, std::vector<Write>* writes);

}  // namespace vcfgctl
