// Refresh hooks of the gateway: one program under several names, each the path pattern of an object. Called as
// `HOOK get INSTANCE-PATH` with the record as JSON on standard input; prints what has changed by itself.
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "client/standard_streams.h"
#include "refresh.h"

namespace {

struct Hook {
    std::string_view pattern;
    void (*refresh)(const std::string& path, Payload& values);
};
constexpr Hook kHooks[] = {
    {"DeviceInfo", refreshUpTime},
    {"DHCPv4.Client.{i}", refreshLeaseTime},
    {"IP.Interface.{i}.Stats", refreshIpStats},
    {"PPP.Interface.{i}.Stats", refreshPppStats},
};

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const char* const slash = strrchr(words[0], '/');
    const std::string_view name = slash == nullptr ? words[0] : slash + 1;
    if (count != 3) {
        fprintf(stderr, "usage: %s get INSTANCE-PATH\n", words[0]);
        return 2;
    }
    for (const Hook& hook : kHooks) {
        if (hook.pattern == name) {
            Payload values;
            hook.refresh(words[2], values);
            puts(values.str().c_str());
            return 0;
        }
    }
    fprintf(stderr, "%s: no such hook\n", words[0]);
    return 2;
}
