title "vcmd is killed"
same_daemon() { [ "$(pidof tarn)" = "$daemon" ]; }
nobody_writes() { vcfgctl set PPP.Interface.1.Alias=lost; [ $? -eq 3 ]; }

vcfgctl set --no-apply PPP.Interface.1.Alias=kept
daemon=$(pidof tarn)
killall -9 vcmd
check "what it knew can be read" is PPP.Interface.1.Alias kept
check "vcfgctl says that nobody takes a write" nobody_writes
check "the daemon runs on" same_daemon
mark
spawn vcmd vcmd
await "vcmd is back, with what had been written" is PPP.Interface.1.Alias kept
await "it and the daemon have found each other" settle
check "somebody connects" asked 1003 1
check "and disconnects" asked 1002 1
check "the daemon is the one that it was" same_daemon
