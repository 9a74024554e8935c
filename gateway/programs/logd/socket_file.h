// Sockets that others find by a path.
#pragma once

// Binds the socket to the path, in place of what was there, for everybody to write to.
bool bindAt(int socket, const char* path);
