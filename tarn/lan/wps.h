// Wi-Fi Protected Setup: one session at a time, on behalf of the application that asked for it. It starts and stops the
// wireless daemon's setup, asks every ten seconds how it is going, writes that for people to read into the access
// point's object, and tells the web server.
#pragma once

#include <cstdint>
#include <string_view>

// Handles a message of one of the three WPS types; they are handled one at a time, in the order in which they come. 1,
// or 0 for data that is no request.
uint32_t wpsMsgStatusHandle(uint32_t type, std::string_view data);

// No session, for tests.
void forgetWpsSession();
