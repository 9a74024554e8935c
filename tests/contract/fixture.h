// The world that the contract tests run in. It is there twice: a store in the process, and vcmd on the bus.
#pragma once

#include <string>
#include <vector>

// A model without any instances, and no owners.
void startWorld();
void stopWorld();

// The owner of an object ("IP.Interface.{i}"). It reports these parameters, a JSON object, at every refresh;
void ownerReports(const std::string& pattern, const std::string& json);
// applies what it is handed, taking its time;
void ownerApplies(const std::string& pattern);
// is handed it and fails.
void ownerRefuses(const std::string& pattern);

// What the owners have applied or refused so far, in order: "set IP.Interface.1". Waits until there are that many.
std::vector<std::string> applied(size_t atLeast);
