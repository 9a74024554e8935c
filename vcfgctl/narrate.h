// What the recorder holds, in sentences.
#pragma once

#include <string>

#include "ago.h"
#include "story.h"

namespace vcfgctl {

// "tarn[812]"
std::string processText(const Story& story, uint32_t process);
std::string processText(const Story& story, const Told& told);

// What an event was, or what was done: "cable eth0.5 pulled", "tarn[812] wrote IP.Interface.1 (link/ppp.cpp:88)".
std::string sentenceOf(const Story& story, const Told& told);
// A first cause, for the end of "because".
std::string causeText(const Story& story, const Told& begin);

// A message that came to nothing, a hook that failed, a write that was refused.
bool isTrouble(const Told& told);
// Of a command's or a hook's step: how it ended.
std::string outcomeText(const Told& step);

// What an event is about, in its own words: a command, a hook.
std::string whatText(const Told& begin);

// "Up" -> "Down", "" for what came.
std::string valuesText(const Told& change);
std::string valueBefore(const Told& change);
std::string valueAfter(const Told& change);

}  // namespace vcfgctl
