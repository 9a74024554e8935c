title "10,000 events: devices come to the LAN and go"
. /usr/lib/board/figures.sh
daemon=$(pidof tarn)
device() {
    printf '{"ac":"%s","ifname":"br0","mac":"02:00:00:00:0a:0%s","ip":"192.168.1.10%s","moui":"00AA11","serial":"S-%s","pclass":"STB"}' "$1" "$2" "$2" "$2"
}
serial_numbers() { vcfgctl get 'ManagementServer.ManageableDevice.*.SerialNumber' | sed 's/^[^=]*=//' | sort | tr '\n' ' '; }
known() { [ "$(serial_numbers)" = "$1" ]; }

vcfgctl set --no-apply X_VORAN_DebugLog.1.Level=3
flood() { /usr/lib/tarn/bin/board-flood "$1" 0x800000FB "$(device add 1)" "$(device add 2)" "$(device del 1)" "$(device del 2)"; }
check "two devices come and go, 2,500 times each" flood 10000
check "all of it has been handled" settle
check "none is left in the data model" known ""
check "two come" flood 2
settle
check "both are in the data model" known "S-1 S-2 "
memory_of tarn "after 10,000 events"
memory_of vcmd "after 10,000 events"
check "tarn's private memory is less than 2 MiB" within 2048 "$(of_memory "$daemon" Private)"
check "the daemon is the one that it was" [ "$(pidof tarn)" = "$daemon" ]
