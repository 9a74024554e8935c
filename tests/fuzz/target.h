// What a fuzz target is made of; harness.cpp runs it.
#pragma once

#include <string>
#include <string_view>

// One input, from beginning to end. It leaves nothing behind that the next one would see.
void handleInput(std::string_view bytes);

// What the program is called: a program of several targets tells by it which one it is.
std::string targetName();

// Ends the program: what must hold does not, and libFuzzer keeps the input.
[[noreturn]] void finding(const std::string& what);
