title "A DHCPv4 lease: bound, renewed, taken back, released"
client=DHCPv4.Client.1
address=IP.Interface.1.IPv4Address.1

kernel_has() { ip -4 addr show eth0.5 | grep -q "inet $1/24"; }
resolver_has() { grep -q "nameserver $1" /etc/resolv.conf; }
starts_with() { case $(value "$1") in "$2"*) ;; *) return 1 ;; esac; }
lasting() { vcfgctl dump | grep -v '"LeaseTimeRemaining"'; }
signal_client() { kill "-$1" "$(cat /var/run/udhcpc-eth0.5.pid)"; }

serve_leases 203.0.113.100 203.0.113.100 3600 10.9.0.0/16,$ROUTER,198.51.100.0/24,$SECOND
check "the client starts" /usr/libexec/tarn/start-client dhcpv4 eth0.5
await "$client is bound" is $client.DHCPStatus Bound
await "its address is enabled" is $address.Status Enabled
await "the kernel's eth0.5 has 203.0.113.100" kernel_has 203.0.113.100
check "both name servers are in the data model" is $client.DNSServers "$ROUTER,$SECOND"
await "and in the resolver" resolver_has $SECOND
check "the classless routes are kept as the option came" starts_with $client.ReqOption.1.Value 7914
await "a ping of the provider's router comes back" ping -c1 -W1 $ROUTER

lasting >/tmp/before
mark
signal_client USR1
await "the client renews: the daemon hears of it" logged "process msg type = 245 without reply"
settle
lasting >/tmp/after
check "a renewal of the same address changes nothing" diff /tmp/before /tmp/after

serve_leases 203.0.113.150 203.0.113.150 3600 10.77.0.0/16,$SECOND
signal_client USR1
await "the provider takes the lease back and grants another: 203.0.113.150 is in the data model" is $address.IPAddress 203.0.113.150
await "and the kernel's" kernel_has 203.0.113.150
check "the old address is nowhere" not kernel_has 203.0.113.100

signal_client USR2
await "the client releases" is $client.DHCPStatus Release
await "the address is disabled" is $address.Status Disabled
await "the kernel's eth0.5 has no address any more" not kernel_has 203.0.113.150
check "a ping of the provider's router does not come back" not ping -c1 -W1 $ROUTER
check "somebody asks for a renewal, and is answered" asked 1005 1
check "the address is enabled when the answer comes" is $address.Status Enabled
