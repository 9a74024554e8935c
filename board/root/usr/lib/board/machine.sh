# shellcheck shell=sh
# What makes the board a machine: its /proc, its kernel's modules, its network ports and the provider at their far ends.

# The kernel's procfs takes no new folders. So /proc is a tmpfs that shows everything of a procfs mounted beside it but
# the processes, and the platform's own files; ps, killall and their like see the true one (gw-procfs).
ip() { /bin/ip "$@"; }  # not busybox's, here and below
ping() { /bin/ping "$@"; }
killall() { /usr/lib/gateway/bin/killall "$@"; }
ps() { /usr/lib/gateway/bin/ps "$@"; }
pidof() { /usr/lib/gateway/bin/pidof "$@"; }

lay_proc() {
    mkdir -p /.proc /proc
    busybox mount -t proc proc /.proc
    busybox mount -t tmpfs -o mode=755 proc /proc
    for entry in /.proc/*; do
        name=${entry##*/}
        case $name in
        [0-9]*) ;;
        *)
            if [ -d "$entry" ] && [ ! -L "$entry" ]; then
                mkdir "/proc/$name"
                busybox mount -o bind "$entry" "/proc/$name"
            else
                ln -s "$entry" "/proc/$name"
            fi
            ;;
        esac
    done
    mkdir /proc/kmonitor /proc/tc3162
    (cd /usr/share/board/proc && find . -type f) | while read -r file; do
        [ -e "/proc/$file" ] || cat "/usr/share/board/proc/$file" >"/proc/$file"
    done
}

load_modules() {
    while read -r module; do
        busybox insmod "$module"
    done </lib/modules/load
}

# Ports eth0.1 to eth0.4 lead to the LAN, eth0.5 to the provider: pairs of devices whose far end goes down when the
# cable is pulled, so that the kernel itself reports it.
lay_cables() {
    ip netns add isp
    ip netns add lan
    {
        for port in 1 2 3 4; do
            echo "link add eth0.$port address 02:00:00:00:00:0$port type veth peer name eth$port netns lan"
            echo "link set eth0.$port up"
        done
        echo "link add eth0.5 address 02:00:00:00:00:05 type veth peer name eth5 netns isp"
        echo "link set eth0.5 up"
        echo "link set lo up"
    } | ip -batch -
    printf '%s\n' 'link set lo up' 'link add wan0 type bridge' 'link set eth5 master wan0' 'link set eth5 up' | ip -n isp -batch -
    printf '%s\n' 'link set lo up' 'link set eth1 up' | ip -n lan -batch -
    echo 1 >/proc/sys/net/ipv4/ip_forward
    mkdir -p /run/hw
    echo eth0.5 >/run/hw/eth_wan_ports
    echo eth0.1 eth0.2 eth0.3 eth0.4 >/run/hw/eth_lan_ports
    echo 0.3 >/run/hw/eth_link_seconds
}

# The kernel finds out how fast its clock runs while it starts. Where the board was not let run at that moment, it is wrong,
# and so is each time after it: two seconds of the battery's clock tell.
clock_is_right() {
    next_second
    begin=$(hundredths)
    next_second && next_second
    taken=$(($(hundredths) - begin))
    [ $taken -gt 120 ] && [ $taken -lt 320 ]
}
next_second() {
    second=$(cat /sys/class/rtc/rtc0/since_epoch)
    while [ "$(cat /sys/class/rtc/rtc0/since_epoch)" = "$second" ]; do
        usleep 10000
    done
}
hundredths() { read -r up _ </proc/uptime && echo "${up%.*}${up#*.}"; }

# cable PORT in|out
cable() {
    far=eth${1#eth0.}
    room=lan
    [ "$1" != eth0.5 ] || room=isp
    case $2 in
    in) ip -n $room link set "$far" up ;;
    out) ip -n $room link set "$far" down ;;
    esac
}
