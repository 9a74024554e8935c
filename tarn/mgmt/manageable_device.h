// The LAN devices that a remote management server may see: those that name their maker, serial number and product class
// when they ask for a lease.
#pragma once

#include <string>

inline constexpr int kDeviceSeen = 1;
inline constexpr int kDeviceGone = 2;

// Keeps the table: a device seen is added unless it is known, a device gone is marked for vcmd to remove. A device that
// does not name all of `moui`, `serial` and `pclass` is none of ours.
void mgabDevUpdate(const std::string& moui, const std::string& serial, const std::string& pclass,
                   const std::string& mac, int mode);
