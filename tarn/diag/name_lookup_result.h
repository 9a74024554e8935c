// The answers that the name-lookup tool got.
#pragma once

void tarnProcessNslookupMsg(const char* payload);
