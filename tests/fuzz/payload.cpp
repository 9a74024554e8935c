// The payload of each message, through the dispatcher, over a furnished gateway. The program has one name per handler;
// an input is up to eight messages, and where a handler takes several types the first byte of each chooses its own.
#include <algorithm>
#include <iterator>

#include "house.h"
#include "payload_seeds.h"
#include "target.h"

namespace {

constexpr int kMostMessages = 8;

const PayloadSeeds& ownHandler() {
    static const PayloadSeeds* const own =
        std::find_if(std::begin(kPayloadSeeds), std::end(kPayloadSeeds),
                     [](const PayloadSeeds& one) { return one.name == targetName(); });
    if (own == std::end(kPayloadSeeds)) {
        finding("the program has no handler's name");
    }
    return *own;
}

}  // namespace

void handleInput(std::string_view bytes) {
    const PayloadSeeds& handler = ownHandler();
    Gateway gateway;
    house::furnish(gateway);
    for (int message = 0; message < kMostMessages && (message == 0 || !bytes.empty()); ++message) {
        const SeedMessage next = takeMessage(handler, bytes);
        gateway.receiveBytes(next.type, std::string(next.payload));
        gateway.runThreads();
    }
    if (!handler.runsItsPayload) {
        house::checkCommands(gateway);
    }
}
