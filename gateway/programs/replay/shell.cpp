// The /bin/sh of a replay: a command text that the daemon runs is not run, but has the result that it had: the status,
// and what it printed.
#include <cstdio>

#include "client/standard_streams.h"
#include "player.h"
#include "shell_call.h"

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    const char* const command = commandText(count, words);
    if (command == nullptr || !daemonAsks()) {
        becomeShell(words);
    }
    const std::optional<Result> result = resultOf(std::string("command ") + command);
    if (!result) {
        fprintf(stderr, "sh: nobody has a result for: %s\n", command);
        return kNotRun;
    }
    fwrite(result->said.data(), 1, result->said.size(), stdout);
    fflush(stdout);
    return endAs(result->status);
}
