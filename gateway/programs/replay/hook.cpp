// An apply hook of a replay: it does nothing, but ends as it did, and complains of the same.
#include <cstdio>

#include "client/standard_streams.h"
#include "player.h"
#include "shell_call.h"

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count < 3) {
        fputs("Usage: gw-replay-hook ACTION PATH\n", stderr);
        return 2;
    }
    const std::string program = words[0];
    const std::string name = program.substr(program.rfind('/') + 1);
    const std::optional<Result> result = resultOf("hook apply/" + name + " " + words[1] + " " + words[2]);
    if (!result) {
        fprintf(stderr, "nobody has a result for: %s\n", program.c_str());
        return kNotRun;
    }
    fwrite(result->said.data(), 1, result->said.size(), stderr);
    return endAs(result->status);
}
