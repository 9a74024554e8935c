// Notable events that the user wants a mail about.
#pragma once

#include <cstdint>

// `payload` is a JSON object with "Event"; null or other text is an event without a name, for which there is no mail.
void emailEventHandle(const char* payload, uint8_t srcEid, uint32_t requestId);
