#include "transfer_state.h"

#include "tool.h"

namespace {

constexpr int kTimeIsOver = 28;

// curl's exit statuses, for both directions.
constexpr struct {
    int status;
    const char* download;
    const char* upload;
} kStates[] = {{6, "Error_CannotResolveHostName", "Error_CannotResolveHostName"},
               {7, "Error_InitConnectionFailed", "Error_InitConnectionFailed"},
               {9, "Error_TransferFailed", "Error_NoCWD"},
               {13, "Error_NoPASV", "Error_NoPASV"},
               {17, "Error_NoTransferMode", "Error_NoTransferMode"},
               {18, "Error_TransferFailed", "Error_NoTransferComplete"},
               {22, "Error_TransferFailed", "Error_NoSTOR"},
               {25, "Error_TransferFailed", "Error_NoSTOR"},
               {kTimeIsOver, "Error_Timeout", "Error_Timeout"},
               {52, "Error_NoResponse", "Error_NoResponse"},
               {55, "Error_TransferFailed", "Error_NoTransferComplete"},
               {56, "Error_TransferFailed", "Error_NoTransferComplete"},
               {67, "Error_LoginFailed", "Error_LoginFailed"},
               {78, "Error_TransferFailed", "Error_NoSTOR"},
               {-1, "Error_Internal", "Error_Internal"},
               {126, "Error_Internal", "Error_Internal"},
               {127, "Error_Internal", "Error_Internal"}};

std::string stateOf(const ConnectionOutcome& connection, const TransferTest& test) {
    const bool began = connection.began > connection.openResponse;
    if (connection.status == 0 || (connection.status == kTimeIsOver && test.seconds != 0 && began)) {
        return "Complete";
    }
    if (connection.status == 7 && problemIn(connection.complaint) == "Error_NoRouteToHost") {
        return "Error_NoRouteToHost";
    }
    for (const auto& [status, download, upload] : kStates) {
        if (status == connection.status) {
            return test.upload ? upload : download;
        }
    }
    return "Error_Other";
}

}  // namespace

std::string transferState(const TransferTest& test, const TransferOutcome& outcome) {
    for (const ConnectionOutcome& connection : outcome.connections) {
        if (std::string state = stateOf(connection, test); state != "Complete") {
            return state;
        }
    }
    return outcome.connections.empty() ? "Error_Internal" : "Complete";
}
