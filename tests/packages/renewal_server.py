"""A DHCP server for one renewal: renewal_server.py SERVER ADDRESS [NETWORK GATEWAY]...: grants the lease on with another address and
other routes, which the ordinary server never does, and ends."""
import ipaddress
import socket
import sys

COOKIE = b"\x63\x82\x53\x63"


def packed(address):
    return ipaddress.ip_address(address).packed


def routes(words):
    data = b""
    for network, gateway in zip(words[::2], words[1::2]):
        network = ipaddress.ip_network(network)
        data += bytes([network.prefixlen]) + network.network_address.packed[: (network.prefixlen + 7) // 8] + packed(gateway)
    return data


def option(number, data):
    return bytes([number, len(data)]) + data


def main(server, address, *words):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as line:
        line.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        line.bind((server, 67))
        print("ready", flush=True)
        request, (client, _) = line.recvfrom(2048)
        while COOKIE + b"\x35\x01\x03" not in request:
            request, (client, _) = line.recvfrom(2048)
        head = b"\x02" + request[1:16] + packed(address) + packed(server) + request[24:236]
        options = option(53, b"\x05") + option(54, packed(server)) + option(51, (600).to_bytes(4, "big"))
        options += option(1, packed("255.255.255.0")) + option(3, packed(server)) + option(121, routes(words)) + b"\xff"
        line.sendto(head + COOKIE + options, (client, 68))


main(*sys.argv[1:])
