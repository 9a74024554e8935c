title "A full /tmp and a full /data"
alias_is() { grep -q '"Alias": *"'"$1"'"' /data/vcfg_config.json; }
serves() { settle && is PPP.Interface.1.ConnectionStatus Disconnected; }
fill() { busybox mount -o remount,size=1m "$1" && ! dd if=/dev/zero of="$1/filler" bs=4096 2>/dev/null; }

check "/tmp is full" fill /tmp
check "the daemon serves" serves
check "somebody connects" asked 1003 1
check "and disconnects" asked 1002 1
rm /tmp/filler

check "/data is full" fill /data
before=$(md5sum </data/vcfg_config.json)
vcfgctl set --no-apply PPP.Interface.1.Alias=fuller >/dev/null 2>&1
vcfgctl save >/dev/null 2>&1
await "it is said in the log" logged "cannot be saved"
check "the configuration's file is the old one, whole" [ "$(md5sum </data/vcfg_config.json)" = "$before" ]
check "the daemon serves" serves
rm /data/filler
vcfgctl set --no-apply PPP.Interface.1.Alias=room
await "with room again the configuration is saved" alias_is room
check "somebody connects" asked 1003 1
check "and disconnects" asked 1002 1
