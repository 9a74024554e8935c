#!/bin/sh
# The multicast daemon: the count of its reloads is what can be seen of it.
. "${GW_LIB_DIR:-/usr/lib/gateway}/hw.sh"
[ $# -eq 1 ] && [ "$1" = reload ] || usage 'reload'
take_turn
reloads=$(cat "$HW/mcpd_reloads" 2>/dev/null || echo 0)
put mcpd_reloads $((reloads + 1))
effect "multicast configuration reloaded"
