// The kernel's word that a link changed, over a gateway with a link of each kind.
#include "link/kernel_event.h"

#include "house.h"
#include "target.h"

void handleInput(std::string_view bytes) {
    Gateway gateway;
    house::furnish(gateway);
    updateLinkStatus(std::string(bytes).c_str());
    gateway.runThreads();
    house::checkCommands(gateway);
}
