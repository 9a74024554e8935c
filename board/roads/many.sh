title "10,000 events: devices come to the LAN, renew their leases and go"
. /usr/lib/board/figures.sh
daemon=$(pidof tarn)
device() {
    printf '{"ac":"%s","ifname":"br0","mac":"02:00:00:00:0a:0%s","ip":"192.168.1.10%s","moui":"00AA11","serial":"S-%s","pclass":"STB"}' "$1" "$2" "$2" "$2"
}
nine_renewals() { for _ in 1 2 3 4 5 6 7 8 9; do device up "$1"; echo; done; }
events() {
    for of in 'add 1' 'add 2' 'del 1' 'del 2'; do
        device $of
        echo
        nine_renewals "${of#* }"
    done
}
# flood COUNT: so many of the events, which take turns.
flood() { /usr/lib/tarn/bin/board-flood "$1" 0x800000FB $(events); }
known() { [ "$(vcfgctl get 'ManagementServer.ManageableDevice.*.SerialNumber' | sed 's/^[^=]*=//' | sort | tr '\n' ' ')" = "$1" ]; }

vcfgctl set --no-apply X_VORAN_DebugLog.1.Level=3
check "two devices come and go, 250 times each, with nine renewals after each" flood 10000
check "all of it has been handled" settle
await "none is left in the data model" known ""
check "two come" flood 11
settle
check "both are in the data model" known "S-1 S-2 "
memory_of tarn "after 10,000 events"
memory_of vcmd "after 10,000 events"
check "tarn's private memory is less than 2 MiB" within 2048 "$(of_memory "$daemon" Private)"
check "the daemon is the one that it was" [ "$(pidof tarn)" = "$daemon" ]
