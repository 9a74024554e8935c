// A stream that closes itself.
#pragma once

#include <cstdio>
#include <memory>

namespace os {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

}  // namespace os
