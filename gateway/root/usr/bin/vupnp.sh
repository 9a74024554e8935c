#!/bin/sh
# Starts UPnP, with NAT traversal when asked for.
. "${GW_LIB_DIR:-/usr/lib/gateway}/hw.sh"
case "$#${1:-}" in
0) state=running ;;
1-N) state='running with NAT traversal' ;;
*) usage '[-N]' ;;
esac
put upnp "$state"
effect "UPnP $state"
