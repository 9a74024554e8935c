# shellcheck shell=sh
# The words of the roads: a road is a file of /usr/lib/board/roads that is read by the board's shell. Each line on the
# console begins with the seconds since the kernel started and what it is: "ok", "FAIL", "figure", "limit" count for
# the summary, the others are for people.
LOG=/var/log/gateway/log.jsonl
PATIENCE=180  # seconds: more than anything takes, on a board whose host has other things to do, too

now() {
    read -r up _ </proc/uptime
    echo "$up"
}

say() {
    kind=$1
    shift
    printf '%8.2f  %-6s  %s\n' "$(now)" "$kind" "$*" >/dev/console
}

title() { say road "$*"; }

# check TEXT COMMAND...: the command's success is what is expected.
check() {
    what=$1
    shift
    if "$@" >/tmp/said 2>&1; then
        say ok "$what"
    else
        say FAIL "$what"
        head -n 5 /tmp/said | while read -r line; do say "" "$line"; done
        [ $PATIENCE -eq 5 ] || tell_evidence "$@"
        PATIENCE=5  # what follows on the road may wait in vain for the same
        return 1
    fi
}

# until_true COMMAND...: what does not come at once is looked for less and less often, as looking costs the board its time.
until_true() {
    end=$(($(seconds) + PATIENCE))
    pause=50000
    until "$@" >/tmp/said 2>&1; do
        [ "$(seconds)" -lt $end ] || return 1
        usleep $pause
        [ $pause -ge 500000 ] || pause=$((pause * 5 / 4))
    done
}

seconds() {
    read -r up _ </proc/uptime
    echo "${up%%.*}"
}

# await TEXT COMMAND...: the command succeeds some time.
await() {
    what=$1
    shift
    check "$what" until_true "$@"
}

not() { ! "$@"; }

value() { vcfgctl get "$1" | sed 's/^[^=]*=//'; }
is() { [ "$(value "$1")" = "$2" ]; }

# What the daemon has logged since mark().
mark() { MARK=$(wc -l <$LOG); }
logged() { tail -n +$((MARK + 1)) $LOG | grep -q -F -- "$1"; }

# Returns when the daemon has handled what it was sent before.
settle() { vcfgctl send --to 2 --type 0x11E --payload : --reply --timeout ${PATIENCE}000 >/dev/null; }

# asked COMMAND INSTANCE: asks for something about a connection, and succeeds with the answer.
asked() { vcfgctl send --to 2 --type "$1" --iid "$2" --reply --timeout ${PATIENCE}000 | grep -q '^type=0x80000067([A-Z_]*) statCode=0'; }

# asks COMMAND INSTANCE: the same in the background; then still_asks, answered.
asks() {
    rm -f /tmp/answer
    (asked "$1" "$2"; echo $? >/tmp/answer) &
}
still_asks() { [ ! -e /tmp/answer ]; }
answered() { [ -e /tmp/answer ] && [ "$(cat /tmp/answer)" = 0 ]; }

not_there() { ! ip link show "$1"; }

# The gateway's pppd: the provider has one for each session, too. Where it has ended the file is empty, and this shell's kill
# succeeds with no number.
pppd_runs() { [ -s /run/tarn/ppp-wan.pid ] && kill -0 "$(cat /run/tarn/ppp-wan.pid)"; }
link_is_gone() { not pppd_runs && not_there ppp0; }

# spawn NAME COMMAND...: a service in the background; the log collector takes tarn's output, a file the others'.
spawn() {
    name=$1
    shift
    output=/var/log/gateway/$name.txt
    [ "$name" != tarn ] || output=/run/gateway/output
    /usr/libexec/tarn/port-spawn "/run/gateway/$name.pid" "$output" "$@"
}

# start_gateway MODEL: starts all that runs on the device, with that configuration; succeeds when start-up has completed.
start_gateway() {
    mkdir -p -m 0700 /run/vcfg
    mkdir -p /run/gateway /run/hw/link /run/tarn /data
    spawn logd /usr/lib/gateway/gw-logd /run/vcfg/vlog /dev/log /run/gateway/output $LOG /run/gateway/log-askers
    until_true [ -S /run/gateway/output ] || return
    mark
    spawn vcmd vcmd --defaults "/usr/share/board/models/$1.json"
    until_true [ -S /run/vcfg/eid-1 ] || return
    vcfgctl set Bridging.Bridge.1.Enable=true
    spawn linesim gw-linesim serve
    until_true gw-linesim state || return
    spawn linkd /usr/libexec/tarn/port-linkd --link-folder /run/hw/link eth0.5 eth0.1 eth0.2 eth0.3 eth0.4 'atm[0-9]' 'ptm[0-9]'
    spawn tarn env LD_PRELOAD=/usr/lib/gateway/libkmonitor.so tarn
    until_true logged 'System: System init finished' || return
    until_true logged 'sendInitFin() : ' || return
    # Start-up switches the WAN port off and on; whoever asks for a lease meanwhile is not heard.
    until_true logged 'Ethernet Wan eth0.5 link up' || return
    until_true is Ethernet.Link.1.Status Up
}

# Ends all of it, as a loss of power would.
stop_gateway() {
    killall -q -9 tarn port-linkd gw-linesim vcmd gw-logd udhcpc dhcpcd port-rad pppd dnsmasq
    rm -rf /run/vcfg /run/tarn /run/gateway $LOG
}

# power_cycle: everything ends; the configuration is forgotten, so that the next start takes another.
power_cycle() {
    stop_gateway
    rm -f /data/vcfg_config.json
}

# travel NAME,NAME,...
travel() {
    for road in $(echo "$1" | tr , ' '); do
        (. "/usr/lib/board/roads/$road.sh")
        [ $? -lt 128 ] || say FAIL "the road $road was ended by a signal"
    done
    say end "$1"
}
