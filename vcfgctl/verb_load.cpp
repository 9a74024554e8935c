#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "ask.h"
#include "change.h"
#include "verb.h"

namespace vcfgctl {
namespace {

constexpr size_t kPartSize = 32 << 10;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

// False, reported, when the file cannot be read.
bool readFile(const std::string& name, std::string* text) {
    const std::unique_ptr<FILE, CloseFile> opened(name == "-" ? nullptr : fopen(name.c_str(), "re"));
    FILE* const file = name == "-" ? stdin : opened.get();
    char block[4096];
    size_t got = 0;
    while (file != nullptr && (got = fread(block, 1, sizeof block, file)) > 0) {
        text->append(block, got);
    }
    if (file != nullptr && ferror(file) == 0) {
        return true;
    }
    refuse(name + ": " + strerror(errno));
    return false;
}

vcfg::Answer sendModel(const std::string& text, uint32_t requestType) {
    vcfg::Answer answer;
    size_t at = 0;
    do {
        answer =
            ask(vcfg::wire::kLoadPart, static_cast<uint32_t>(at), {}, std::string_view(text).substr(at, kPartSize));
        at += kPartSize;
    } while (answer.code == VCFG_OK && at < text.size());
    const vcfg::wire::WriteHeader header{requestType};
    const std::string_view payload(reinterpret_cast<const char*>(&header), sizeof header);
    return answer.code == VCFG_OK ? ask(vcfg::wire::kLoad, 0, {}, payload, patienceFor(requestType)) : answer;
}

}  // namespace

int runLoad(const Call& call) {
    if (call.operands.size() != 1) {
        return wrongUsage(call, "takes one file");
    }
    std::string text;
    uint32_t type = 0;
    int status = takeRequestType(call, &type);
    if (status != kDone) {
        return status;
    }
    if (!readFile(call.operands.front(), &text)) {
        return kRefused;
    }
    status = joinBus(call.runDir);
    if (status != kDone) {
        return status;
    }
    const vcfg::Answer answer = sendModel(text, type);
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, call.operands.front());
}

}  // namespace vcfgctl
