#include "askers.h"

#include <sys/socket.h>
#include <unistd.h>

#include "socket_file.h"

Askers::Askers(const char* path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (!bindAt(socket_, path) || listen(socket_, SOMAXCONN) < 0) {
        socket_ = -1;
    }
}

void Askers::take(int64_t now) {
    while (true) {
        const int connection = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (connection < 0) {
            return;
        }
        asking_.push_back({connection, now});
    }
}

void Askers::answer(int64_t until) {
    std::erase_if(asking_, [until](const Asker& asker) {
        if (asker.since > until) {
            return false;
        }
        send(asker.connection, "\n", 1, MSG_NOSIGNAL);
        close(asker.connection);
        return true;
    });
}
