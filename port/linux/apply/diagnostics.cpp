// The diagnostics: "Requested" starts the tool of the object, "Canceled" stops it.
#include <csignal>

#include "clients.h"
#include "hooks.h"
#include "process.h"

namespace {

void endTool(const std::string& object) {
    endProcess(clientFile("diag-" + object + ".pid"), SIGTERM);
}

}  // namespace

bool applyDiagnostic(const Change& change) {
    const std::string state = change.now ? change.now->text("DiagnosticsState") : std::string();
    if (state == "Requested") {
        endTool(change.path);
        return startClient("diag", change.path);
    }
    if (state == "Canceled") {
        endTool(change.path);
        return run({"vcfgctl", "set", "--no-apply", change.path + ".DiagnosticsState=None"});
    }
    return true;
}
