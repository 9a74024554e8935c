# shellcheck shell=sh
# The provider: real servers in a network namespace of their own, with an /etc/ppp of their own (/etc/netns/isp/ppp).
ROUTER=203.0.113.1
SECOND=203.0.113.2
ROUTER6=fe80::1
NAME_SERVER6=2001:db8:ffff::53
DELEGATED=2001:db8:f000::
WAN_HARDWARE=02:00:00:00:00:05
LAN_HARDWARE=02:00:00:00:00:01  # that of the bridge, which a client on a PPP link takes

isp() { ip netns exec isp "$@"; }

lay_provider() {
    mkdir -p /run/isp /var/lib/dhcpv6
    printf '%s\n' "addr add $ROUTER/24 dev wan0" "addr add $SECOND/24 dev wan0" \
        'link set wan0 addrgenmode none' 'link set wan0 up' "addr add $ROUTER6/64 dev wan0 nodad" \
        "addr add $NAME_SERVER6/128 dev wan0 nodad" | ip -n isp -batch -
    isp sh -c 'echo 1 >/proc/sys/net/ipv6/conf/all/forwarding'
}

# serve_leases FIRST LAST SECONDS ROUTE,GATEWAY[,...]: (re)starts the DHCP server with that range and those routes.
serve_leases() {
    end_server dnsmasq
    rm -f /run/isp/leases
    cat >/run/isp/dhcp.conf <<CONF
dhcp-range=$1,$2,255.255.255.0,$3
dhcp-option=option:router,$ROUTER
dhcp-option=option:dns-server,$ROUTER,$SECOND
dhcp-option=option:classless-static-route,0.0.0.0/0,$ROUTER,$4
CONF
    isp dnsmasq --conf-file=/etc/isp/dnsmasq.conf
}

# serve_ipv6 DEVICE CLIENT: a router that advertises itself and a prefix there, and a DHCPv6 server that knows the client
# with that hardware address.
serve_ipv6() {
    cat >/run/isp/radvd.conf <<CONF
interface $1 {
  AdvSendAdvert on;
  MinRtrAdvInterval 3;
  MaxRtrAdvInterval 4;
  AdvManagedFlag on;
  AdvOtherConfigFlag on;
  prefix 2001:db8:1::/64 { AdvOnLink on; AdvAutonomous off; };
};
CONF
    isp radvd -C /run/isp/radvd.conf -p /run/isp/radvd.pid -m logfile -l /run/isp/radvd.log
    serve_dhcpv6 "$1" "$2"
}

serve_dhcpv6() {
    cat >/run/isp/dhcp6s.conf <<CONF
option domain-name-servers $NAME_SERVER6;
host gateway {
  duid 00:03:00:01:$2;
  address 2001:db8:1::77 1800 3600;
  prefix $DELEGATED/56 1800 3600;
};
CONF
    isp dhcp6s -c /run/isp/dhcp6s.conf -P /run/isp/dhcp6s.pid "$1"
}

# serve_ppp: a PPPoE server that hands out one address.
serve_ppp() {
    isp pppoe-server -I wan0 -L 198.51.100.1 -R 198.51.100.20 -N 4 -O /etc/ppp/pppoe-options \
        -X /run/isp/pppoe-server.pid
}

# end_server NAME: ends it; what is not there has ended already.
end_server() {
    [ -s "/run/isp/$1.pid" ] || return 0
    server=$(cat "/run/isp/$1.pid")
    kill "$server" 2>/dev/null
    until_true not kill -0 "$server"
    rm -f "/run/isp/$1.pid"
}
