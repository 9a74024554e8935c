// The words of <vcfg/loop.h>.
#include <vcfg/loop.h>

#include "refusal.h"

namespace vcfg {
namespace {

thread_local std::string refusal;

}  // namespace

void noteRefusal(const std::string& why) {
    refusal = why;
}

}  // namespace vcfg

const char* vcfg_refusalText(void) {
    return vcfg::refusal.c_str();
}

const char* vcfg_codeText(int code) {
    switch (code) {
        case VCFG_OK:
            return "done";
        case VCFG_DELIVERED:
            return "the message is with its receiver";
        case VCFG_ERR_FAIL:
            return "memory, the system or the data model failed";
        case VCFG_ERR_NOT_FOUND:
            return "there is no such object, instance or parameter";
        case VCFG_ERR_INVALID:
            return "an argument, a message or a value is malformed";
        case VCFG_ERR_RIGHTS:
            return "not allowed";
        case VCFG_ERR_FULL:
            return "a table or a queue has no room";
        case VCFG_ERR_TIMEOUT:
            return "the time is over";
        case VCFG_ERR_NO_PEER:
            return "nobody serves the endpoint, or it went away";
        default:
            return "unknown code";
    }
}
