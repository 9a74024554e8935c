title "A board with little memory"
. /usr/lib/board/figures.sh
available() { sed -n 's/^MemAvailable: *//p' /proc/meminfo; }
figure "small board, memory that the kernel leaves" "$(sed -n 's/^MemTotal: *//p' /proc/meminfo)"
lay_cables
check "it boots and serves" start_gateway defaults
figure "small board, available when it serves" "$(available)"
daemon=$(pidof tarn)

title "Its memory runs out while events come"
lease='{"addressAssigned":true,"pidfile":"/var/run/udhcpc-eth0.5.pid","ip":"203.0.113.'
rest='","subnet":"255.255.255.0","router":"203.0.113.1","dns":"203.0.113.1","lease":3600,"v6rdAssigned":false}'
busybox mount -o remount,size=64m /tmp
echo -1000 >/.proc/self/oom_score_adj # the road itself goes on
(echo 1000 >/.proc/self/oom_score_adj && exec busybox dd if=/dev/zero of=/tmp/hog bs=65536 count=1000 2>/dev/null) &
/usr/lib/tarn/bin/board-flood 40 0x800000D8 "${lease}21$rest" "${lease}22$rest" 2>/dev/null
wait $!
rm -f /tmp/hog
echo 0 >/.proc/self/oom_score_adj
say "" "$(dmesg | grep -c 'Killed process') processes were ended by the kernel"
if [ "$(pidof tarn)" = "$daemon" ] && pidof vcmd >/dev/null; then
    await "the daemon serves on" settle
else
    figure "small board, limit met when memory ran out" "the kernel ended a daemon; started anew, it serves"
    stop_gateway
    check "started anew, it serves" start_gateway defaults
    check "and answers" settle
fi
