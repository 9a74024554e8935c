title "The clock jumps from 1970 to today in the middle of a lease"
no_renewal() { ! logged "process msg type = 245 without reply"; }
elapsed() { [ $(($(seconds) - since)) -ge "$1" ]; }
given_up() { [ -e /tmp/gave-up ]; }

date -s @200000 >/dev/null
serve_leases 203.0.113.160 203.0.113.160 120 10.9.0.0/16,$ROUTER
kill -USR1 "$(cat /var/run/udhcpc-eth0.5.pid)"
await "a lease of 120 s is bound in 1970" is IP.Interface.1.IPv4Address.1.IPAddress 203.0.113.160
since=$(seconds)
mark
vcfgctl serve 40 >/dev/null &
mute=$!
until_true [ -S /run/vcfg/eid-40 ]
kill -STOP $mute
rm -f /tmp/gave-up
(vcfgctl send --to 40 --type 4001 --reply --timeout 20000 2>/dev/null; seconds >/tmp/gave-up) &
asked=$(seconds)
usleep 1000000
date -s @1795320000 >/dev/null
say "" "it is $(date)"
settle
# On a board that is not let run, the times that these two speak of may be over; the checks of the whole time hold all the same.
[ $(($(seconds) - asked)) -ge 15 ] || check "nobody's time is over at once: the requester still waits" not given_up
await "the requester gives up" given_up
kill -KILL $mute
check "after the 20 s that it had, not before" [ $(($(cat /tmp/gave-up) - asked)) -ge 19 ]
elapsed 40 || sleep $((40 - $(seconds) + since))
elapsed 50 || check "40 s into the lease nobody has renewed it, and nobody has given it up" no_renewal
check "the address is enabled" is IP.Interface.1.IPv4Address.1.Status Enabled
await "after half the lease it is renewed" logged "process msg type = 245 without reply"
check "not before its time" elapsed 50
await "a ping of the provider's router comes back" ping -c1 -W1 $ROUTER
