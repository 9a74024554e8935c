title "Figures: sizes, memory after boot, CPU time"
. /usr/lib/board/figures.sh
daemon=$(pidof tarn)
start=$(cpu_us "$daemon")
lease() {
    printf '{"addressAssigned":true,"pidfile":"/var/run/udhcpc-eth0.5.pid","ip":"203.0.113.%s","subnet":"255.255.255.0","router":"203.0.113.1","dns":"203.0.113.1 203.0.113.2","lease":3600,"v6rdAssigned":false}' "$1"
}

for program in bin/tarn lib/libvcfg.so.1 bin/vcmd; do
    figure "${program##*/}, stripped" "$(wc -c <"/usr/lib/tarn/$program") bytes"
done
check "tarn is smaller than 300 KiB" within $((300 * 1024)) "$(wc -c </usr/lib/tarn/bin/tarn)"
figure "tarn, CPU time from start to serving" "$((start / 1000)) ms"
check "which is less than 300 ms" within 300000 "$start"
memory_of tarn "after boot"
memory_of vcmd "after boot"

settle
before=$(cpu_us "$daemon")
check "20 leases, each with another address" /usr/lib/tarn/bin/board-flood 20 0x800000D8 "$(lease 21)" "$(lease 22)"
settle
after=$(cpu_us "$daemon")
await "the last one is in the data model" is IP.Interface.1.IPv4Address.1.IPAddress 203.0.113.22
figure "tarn, CPU time of one lease event" "$(((after - before) / 20)) us"

before=$(cpu_us "$daemon")
for round in 1 2 3 4 5; do
    cable eth0.1 out
    until_true is Ethernet.Interface.1.Status Down || say FAIL "LAN port down, round $round"
    cable eth0.1 in
    until_true is Ethernet.Interface.1.Status Up || say FAIL "LAN port up, round $round"
done
settle
after=$(cpu_us "$daemon")
figure "tarn, CPU time of one link event" "$(((after - before) / 10)) us"
