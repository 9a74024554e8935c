#include "socket_file.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

bool bindAt(int socket, const char* path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path) {
        return false;
    }
    memcpy(address.sun_path, path, strlen(path));
    unlink(path);
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && chmod(path, 0666) == 0;
}
