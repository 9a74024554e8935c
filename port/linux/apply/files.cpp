#include "files.h"

#include <cstdio>
#include <memory>

namespace {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

}  // namespace

std::string readFile(const std::string& path) {
    const File file(fopen(path.c_str(), "re"));
    std::string text;
    char piece[4096];
    for (size_t got = 0; file && (got = fread(piece, 1, sizeof piece, file.get())) > 0;) {
        text.append(piece, got);
    }
    return text;
}

bool writeFile(const std::string& path, const std::string& text) {
    const File file(fopen(path.c_str(), "we"));
    const bool done = file && fwrite(text.data(), 1, text.size(), file.get()) == text.size() && fflush(file.get()) == 0;
    if (!done) {
        perror(("port-apply: " + path).c_str());
    }
    return done;
}
