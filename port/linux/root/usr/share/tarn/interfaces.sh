# Which interfaces are ours, and how everybody else is told to leave them alone. Read by tarn-port.
ours=/etc/tarn/interfaces
manager=/etc/NetworkManager/conf.d/90-tarn.conf
networkd=/etc/systemd/network/05-tarn.network
resolver=/etc/resolv.conf
kept_resolver=/var/lib/tarn/resolv.conf.before
own_resolver=/run/tarn/resolv.conf

# "wan eth0" and the like, a line each.
names() { [ ! -e "$ours" ] || sed 's/^[a-z]* //' "$ours"; }

has_systemd() { [ -d /run/systemd/system ]; }
is_active() { has_systemd && systemctl is-active --quiet "$1"; }

tell_manager() {
    ! is_active NetworkManager.service || nmcli general reload
}
tell_networkd() {
    ! is_active systemd-networkd.service || networkctl reload
}

tell_others() {
    if [ -d /etc/NetworkManager ]; then
        mkdir -p "${manager%/*}"
        { printf '# Ours: tarn-port undo takes this away.\n[keyfile]\nunmanaged-devices+='
            names | sed 's/.*/interface-name:&/' | paste -sd ';'; } >"$manager"
        tell_manager
    fi
    if [ -d /etc/systemd/network ]; then
        { printf '# Ours: tarn-port undo takes this away.\n[Match]\nName='
            names | paste -sd ' '
            printf '\n[Link]\nUnmanaged=yes\n'; } >"$networkd"
        tell_networkd
    fi
}

untell_others() {
    if [ -e "$manager" ]; then rm -f "$manager" && tell_manager; fi
    if [ -e "$networkd" ]; then rm -f "$networkd" && tell_networkd; fi
}

# The provider's name servers are the machine's. What it had before is kept.
take_resolver() {
    [ "$(readlink "$resolver" || true)" != "$own_resolver" ] || return 0
    mkdir -p /run/tarn /var/lib/tarn
    rm -f "$kept_resolver"
    if [ -e "$resolver" ] || [ -L "$resolver" ]; then
        cp -a "$resolver" "$kept_resolver"
        cat "$resolver" >"$own_resolver" 2>/dev/null || :
    fi
    ln -sf "$own_resolver" "$resolver" 2>/dev/null || echo "tarn-port: $resolver stays as it is" >&2
}

return_resolver() {
    [ "$(readlink "$resolver" || true)" = "$own_resolver" ] || return 0
    rm -f "$resolver"
    if [ -e "$kept_resolver" ] || [ -L "$kept_resolver" ]; then mv "$kept_resolver" "$resolver"; fi
}

# What clients have left on the interfaces goes with them.
clear_interfaces() {
    for name in $(names); do
        [ ! -e "/sys/class/net/$name" ] || {
            ip addr flush dev "$name" scope global
            ip route flush dev "$name" proto boot
            ip route flush dev "$name" proto static
        }
    done 2>/dev/null
    ip link del br-lan 2>/dev/null || :
}
