// The kernel's route socket. One thread reads; the buffer is too large for the stacks of others.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/linux/link_messages.h"

namespace link_socket {

// Subscribed to the links' changes; -1 with errno set.
int open();

enum class Reading { Datagram, Lost, Nothing, Failed };
// One datagram of the kernel's, valid until the next call; empty for one from anybody else. Never waits.
Reading receive(int descriptor, std::string_view& datagram);
// Drops what waits.
void drain(int descriptor);

// Makes the kernel send a message that says nothing, so that whoever waits for messages goes on. From any thread.
void knock(int descriptor);

// All links as they are; nothing when the kernel does not say.
std::optional<std::vector<link_messages::Link>> list();

}  // namespace link_socket
