// The classless static routes of a lease, as the hexadecimal text in which a DHCP client hands them on: added, renewed
// and taken back.
#include "connection/option121.h"

#include "support/kit.h"
#include "target.h"

void handleInput(std::string_view bytes) {
    const Option121 option = parseOption121Routes(bytes);
    Gateway gateway;
    if (!inproc::isKept()) {
        gateway.add("Routing.Router.1");
        inproc::keep();
    }
    tarnWanDhcpcOption121Apply("IP.Interface.1", option, true);
    tarnWanDhcpcOption121Apply("IP.Interface.1", option, true);
    tarnWanDhcpcOption121Apply("IP.Interface.1", option, false);
    if (!inproc::instancesOf("Routing.Router.1.IPv4Forwarding").empty()) {
        finding("a route is left of a lease that has gone");
    }
}
