// The checksum of the stored configuration, and the acknowledgement of a relayed command.
#pragma once

#include <cstdint>
#include <string>

// 16-bit checksum over all bytes of a file, however many; 0 when it is missing, empty or cannot be read. A file that
// shrinks meanwhile counts as far as it is there.
uint16_t tarnFileCksum(const std::string& path);

// Both return what the bus said of the reply.
int processAtshGetRomfileCksum(uint8_t requester, uint32_t request);
int processFakeroot_Command_Reply(uint8_t requester, uint32_t request);
