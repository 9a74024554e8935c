title "PPPoE: pppoe-server at the provider, pppd and the kernel's PPP here"
link=PPP.Interface.1
address=IP.Interface.1.IPv4Address.1
kernel_has() { ip addr show ppp0 | grep -q "$1"; }
has_session() { [ -n "$(value $link.PPPoE.X_VORAN_SessionID)" ]; }

power_cycle ppp
check "start-up completes with the PPP configuration" start_gateway ppp
serve_ppp
vcfgctl set $link.IPv6CPEnable=false
check "somebody asks to connect, and is answered when the IPv4 layer is up" asked 1003 1
check "the link is connected" is $link.ConnectionStatus Connected
check "IPCP's addresses are in the data model: ours" is $link.IPCP.LocalIPAddress 198.51.100.20
check "and the provider's" is $link.IPCP.RemoteIPAddress 198.51.100.1
check "and its name servers" is $link.IPCP.DNSServers 198.51.100.53,198.51.100.54
await "the session's number is" has_session
await "the kernel's ppp0 has the address" kernel_has 'inet 198.51.100.20'
await "a ping over ppp0 comes back" ping -c1 -W2 -I ppp0 198.51.100.1
check "somebody asks to disconnect, and is answered" asked 1002 1
check "the link is disconnected" is $link.ConnectionStatus Disconnected
await "pppd and ppp0 are gone" link_is_gone
await "the address is disabled" is $address.Status Disabled

vcfgctl set $link.IPv6CPEnable=true
asks 1003 1
await "with IPv6 on the link: the IPv4 layer comes up" is $address.Status Enabled
await "the IPv6 layer comes up" is $link.IPv6CP.LocalInterfaceIdentifier fe80::0000:0000:0000:0020
await "the provider's router advertises itself over the link" is Routing.RouteInformation.InterfaceSetting.1.SourceRouter fe80::1
await "the DHCPv6 client's address answers the requester" answered
check "the link is connected" is $link.ConnectionStatus Connected
await "the prefix is delegated over the link" is IP.Interface.1.IPv6Prefix.1.Prefix $DELEGATED/56
await "a ping over the link's IPv6 comes back" ping -6 -c1 -W2 -I ppp0 fe80::1
check "somebody asks to disconnect, and is answered when the IPv6 layer is down" asked 1002 1
await "pppd and ppp0 are gone" link_is_gone
