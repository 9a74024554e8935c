title "Dual stack: router advertisement, DHCPv6 address and prefix"
interface=IP.Interface.1
setting=Routing.RouteInformation.InterfaceSetting.1
bridge_has_prefix() { ip -6 addr show br0 | grep -q 'scope global'; }
default_route() { ip -6 route | grep -q "default via $ROUTER6"; }
resolver_has() { grep -q "nameserver $1" /etc/resolv.conf; }
none_below() { [ -z "$(vcfgctl get "$1" 2>/dev/null)" ]; }

power_cycle dual-stack
check "start-up completes with the dual-stack configuration" start_gateway dual-stack
vcfgctl set IP.Interface.2.IPv4Address.1.Enable=true
serve_leases 203.0.113.100 203.0.113.100 3600 10.9.0.0/16,$ROUTER
serve_ipv6 wan0 $WAN_HARDWARE
isp ip -6 route replace $DELEGATED/56 via fe80::ff:fe00:5 dev wan0
/usr/libexec/tarn/start-client dhcpv4 eth0.5
vcfgctl set --no-apply $interface.IPv6Enable=false
vcfgctl set $interface.IPv6Enable=true
await "DHCPv4.Client.1 is bound" is DHCPv4.Client.1.DHCPStatus Bound
await "the advertised router is in the data model" is $setting.SourceRouter $ROUTER6
check "its M flag has the DHCPv6 client ask for an address" is DHCPv6.Client.1.RequestAddresses true
await "the address 2001:db8:1::77 is enabled" is $interface.IPv6Address.1.IPAddress 2001:db8:1::77
await "the prefix is delegated" is $interface.IPv6Prefix.1.Prefix $DELEGATED/56
await "the name server is in the resolver" resolver_has $NAME_SERVER6
await "br0 has an address of the prefix" bridge_has_prefix
await "the default route leads to the router" default_route
await "a ping from the LAN's address comes back" ping -6 -c1 -W1 -I 2001:db8:f000::1 $NAME_SERVER6

check "somebody asks for a release: answered at once" asked 1004 1
check "the interface's status is LowerLayerDown" is $interface.Status LowerLayerDown
await "address and prefix are gone" none_below $interface.IPv6Prefix.
end_server dhcp6s
asks 1005 1
await "somebody asks for a renewal while the DHCPv6 server is silent: the lease is bound again" is DHCPv4.Client.1.DHCPStatus Bound
await "the interface is up" is $interface.Status Up
check "the requester still waits" still_asks
serve_dhcpv6 wan0 $WAN_HARDWARE
await "the DHCPv6 server answers, and that answers the requester" answered
check "the address is enabled at that moment" is $interface.IPv6Address.1.Status Enabled
end_server dhcp6s
end_server radvd
