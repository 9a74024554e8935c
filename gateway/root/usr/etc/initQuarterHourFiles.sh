#!/bin/sh
# Starts the DSL quarter-hour statistics afresh: one file per kept quarter of an hour, all counters at zero.
. "${GW_LIB_DIR:-/usr/lib/gateway}/hw.sh"
folder=${GW_QUARTER_HOURS_DIR:-/tmp/quarterHours}
mkdir -p "$folder" || fail "cannot make $folder"
for quarter in current 1 2 3 4; do
    printf 'ES 0\nSES 0\nUAS 0\nCRC 0\nFEC 0\n' >"$folder/$quarter" || fail "cannot write $folder/$quarter"
done
effect "quarter-hour statistics started afresh"
