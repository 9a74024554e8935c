// Records that the daemon keeps or hands to a thread.
#pragma once

#include <memory>
#include <new>

// A record with its initial values; empty when memory is short.
template <class T>
std::unique_ptr<T> allocate() {
    return std::unique_ptr<T>(new (std::nothrow) T());
}
