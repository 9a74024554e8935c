#!/bin/sh
# The LAN ports stay dark while the gateway starts: "start" switches them off, "stop" ends that.
. "${GW_LIB_DIR:-/usr/lib/gateway}/hw.sh"
case ${1:-} in
start) state=down ;;
stop) state=up ;;
*) usage 'start|stop' ;;
esac
ports='eth0.1 eth0.2 eth0.3 eth0.4'
[ ! -r "$HW/eth_lan_ports" ] || ports=$(cat "$HW/eth_lan_ports")
for port in $ports; do
    ip link show dev "$port" >/dev/null 2>&1 || continue
    ip link set dev "$port" "$state" || fail "port $port cannot be switched"
done
put lan_ports "$state"
effect "LAN ports $state"
