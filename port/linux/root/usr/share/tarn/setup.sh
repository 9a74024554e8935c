# tarn-port setup: makes a router of this machine, with those interfaces. --print only shows the configuration.
# tarn-port undo: undoes all of it, the configuration included.
# tarn-port release, take: hands the interfaces back while the configuration stays, and takes them again. Read by tarn-port.
# shellcheck source=port/linux/root/usr/share/tarn/interfaces.sh
. /usr/share/tarn/interfaces.sh
# shellcheck source=port/linux/root/usr/share/tarn/router.sh
. /usr/share/tarn/router.sh
router=/etc/tarn/router.json

refuse() {
    echo "tarn-port: $1" >&2
    exit 1
}

is_name() {
    case $1 in
    '' | *[!A-Za-z0-9_.-]* | ????????????????*) return 1 ;;
    esac
}

# What ifupdown brings up is the administrator's to take out of its files.
check_device() {
    is_name "$1" || refuse "\"$1\" is no name of an interface"
    [ -e "/sys/class/net/$1" ] || refuse "there is no interface $1; there are: $(ls -x -w 200 /sys/class/net)"
    for file in /etc/network/interfaces /etc/network/interfaces.d/*; do
        [ ! -f "$file" ] || ! grep -Eq "^[[:space:]]*iface[[:space:]]+$(echo "$1" | sed 's/\./\\./g')[[:space:]]" "$file" ||
            refuse "$1 is ifupdown's: take it out of $file, and run ifdown $1, first"
    done
}

is_network() { echo "$1" | grep -Eq '^([0-9]{1,3}\.){2}[0-9]{1,3}$'; }

take() {
    [ -e "$ours" ] || return 0
    tell_others
    take_resolver
}

release() {
    if has_systemd; then
        systemctl stop tarn.target vcmd.service tarn.service 'tarn-client@*.service' || :
    fi
    [ -e "$ours" ] || return 0
    clear_interfaces
    untell_others
    return_resolver
}

setup() {
    list='' network=192.168.77 ipv6=false print=
    while [ $# -gt 0 ]; do
        case $1 in
        --wan | --lan)
            [ $# -ge 2 ] || usage
            check_device "$2"
            list="$list${1#--} $2
"
            shift
            ;;
        --lan-network)
            is_network "${2:-}" || usage
            network=$2
            shift
            ;;
        --ipv6) ipv6=true ;;
        --print) print=yes ;;
        *) usage ;;
        esac
        shift
    done
    echo "$list" | grep -q '^wan ' || usage
    if [ -n "$print" ]; then
        printf %s "$list" | configuration "$network" "$ipv6"
        return
    fi
    [ ! -e "$router" ] || refuse "this machine is set up already; tarn-port undo undoes it"
    mkdir -p /etc/tarn
    printf %s "$list" | configuration "$network" "$ipv6" >"$router.new"
    printf %s "$list" >"$ours"
    mv "$router.new" "$router"
    take
    ! has_systemd || systemctl start tarn.target vcmd.service tarn.service
    echo "the router runs; vcfgctl get IP.Interface.1.IPv4Address. shows its lease"
}

undo() {
    release
    rm -f "$router" "$ours" /var/lib/tarn/vcfg_config.json*
    rm -f /run/vcfg/model.mdb*
}

[ "$(id -u)" -eq 0 ] || refuse "only root can do that"
verb=$1
shift
case $verb in
setup) setup "$@" ;;
undo) undo ;;
take) take ;;
release) release ;;
esac
exit
