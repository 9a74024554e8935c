# The configuration that a router begins with, by its interfaces. Read by tarn-port.

# wan NUMBER DEVICE IPV6: IP.Interface.2 is the LAN's.
wan() {
    number=$1 device=$2 ipv6=$3
    cat <<END
    /* WAN port $device: an Ethernet port, a link on it, an IP interface on that, and the client that leases its address. The
       default route of the interface with the lowest number wins. */
    "Ethernet.Interface.$number": {"Enable": true, "Name": "$device", "Upstream": true, "X_VORAN_WANPort": true},
    "Ethernet.Link.$number": {"Enable": true, "Name": "$device", "LowerLayers": "Ethernet.Interface.$number"},
    "IP.Interface.$number": {"Enable": true, "IPv4Enable": true, "IPv6Enable": $ipv6, "Alias": "wan-$device", "Name": "$device",
      "LowerLayers": "Ethernet.Link.$number", "X_VORAN_IfName": "$device", "X_VORAN_WAN": true},
    "DHCPv4.Client.$number": {"Enable": true, "Alias": "wan-$device", "Interface": "IP.Interface.$number",
      "X_VORAN_PidFile": "/var/run/udhcpc-$device.pid"},
    "DHCPv4.Client.$number.ReqOption.1": {"Enable": true, "Order": 1, "Alias": "opt121", "Tag": 121},
    "InterfaceStack.$((2 * number))": {"HigherLayer": "IP.Interface.$number", "LowerLayer": "Ethernet.Link.$number"},
    "InterfaceStack.$((2 * number + 1))": {"HigherLayer": "Ethernet.Link.$number", "LowerLayer": "Ethernet.Interface.$number"},
END
    [ "$ipv6" = false ] || cat <<END
    "DHCPv6.Client.$number": {"Enable": true, "Alias": "wan-$device", "Interface": "IP.Interface.$number",
      "RequestAddresses": true, "RequestPrefixes": true, "RequestedOptions": "23",
      "X_VORAN_PidFile": "/run/dhcpcd/$device-6.pid"},
END
}

# port NUMBER DEVICE: a port of the LAN's bridge.
port() {
    cat <<END
    /* LAN port $2. */
    "Ethernet.Interface.$1": {"Enable": true, "Name": "$2"},
    "Bridging.Bridge.1.Port.$(($1 - 18))": {"Enable": true, "Name": "$2", "LowerLayers": "Ethernet.Interface.$1",
      "X_VORAN_IfName": "$2"},
END
}

# lan NETWORK IPV6: "192.168.77" is the network's first three numbers.
lan() {
    cat <<END
    /* The LAN: a bridge of its ports, the router's address there, and the addresses that it leases. */
    "Bridging.Bridge.1": {"Enable": true, "Name": "br-lan"},
    "Bridging.Bridge.1.Port.1": {"Enable": true, "Name": "br-lan", "ManagementPort": true, "X_VORAN_IfName": "br-lan"},
    "Ethernet.Link.2": {"Enable": true, "Name": "br-lan", "LowerLayers": "Bridging.Bridge.1.Port.1"},
    "IP.Interface.2": {"Enable": true, "IPv4Enable": true, "IPv6Enable": $2, "Alias": "lan", "Name": "br-lan",
      "LowerLayers": "Ethernet.Link.2", "X_VORAN_IfName": "br-lan"},
    "IP.Interface.2.IPv4Address.1": {"Enable": true, "IPAddress": "$1.1", "SubnetMask": "255.255.255.0",
      "AddressingType": "Static"},
    "DHCPv4.Server": {"Enable": true},
    "DHCPv4.Server.Pool.1": {"Enable": true, "Alias": "lan", "Interface": "IP.Interface.2", "MinAddress": "$1.100",
      "MaxAddress": "$1.199", "SubnetMask": "255.255.255.0", "IPRouters": "$1.1", "LeaseTime": 3600},
END
}

# configuration LAN-NETWORK IPV6: of the interfaces that are listed on standard input, "wan eth0" and "lan eth1".
configuration() {
    network=$1 with_ipv6=$2 next_wan=1 next_lan=20
    cat <<END
/* What the router begins with. Read when there is no /var/lib/tarn/vcfg_config.json yet: what is set with vcfgctl later
   lies there, and outlives upgrades. "vcfgctl describe PATH" tells what each name takes. */
{
  "version": 1,
  "objects": {
    "IP": {"IPv4Enable": true, "IPv6Enable": $with_ipv6},
END
    while read -r role device; do
        case $role in
        wan)
            wan "$next_wan" "$device" "$with_ipv6"
            next_wan=$((next_wan == 1 ? 3 : next_wan + 1))
            ;;
        lan)
            [ "$next_lan" -ne 20 ] || lan "$network" "$with_ipv6"
            port "$next_lan" "$device"
            next_lan=$((next_lan + 1))
            ;;
        esac
    done
    cat <<END
    "Routing.Router.1": {"Enable": true$([ "$with_ipv6" = false ] || echo ', "X_VORAN_IPv6DefaultInterfaces": "IP.Interface.1"')},
    "Routing.RouteInformation": {"Enable": true},
    "DNS.Client": {"Enable": true},
    "Time": {"Enable": false}
  }
}
END
}
