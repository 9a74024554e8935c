#!/bin/sh
# On the test bench the buttons must not start anything; everywhere else they work.
. "${GW_LIB_DIR:-/usr/lib/gateway}/hw.sh"
state=enabled
[ ! -e "$HW/manufacture" ] || state=disabled
put buttons "$state"
effect "buttons $state"
