"""A DHCP server for one renewal: it grants the lease on with another address, which the ordinary server never does, hands
the lease over to that server and starts it again. Everything else that it hands out is what /var/lib/isp/options says."""
import ipaddress
import pathlib
import socket
import struct
import subprocess
import sys
import time

HOME = pathlib.Path("/var/lib/isp")
DEVICE = "wan0"
SERVER = "203.0.113.1"
MASK = "255.255.255.0"
LEASE_SECONDS = 120
COOKIE = b"\x63\x82\x53\x63"
REQUEST, ACK = 3, 5
OPTION_NUMBERS = {"router": 3, "dns-server": 6, "classless-static-route": 121}


def packed(address):
    return ipaddress.ip_address(address).packed


def routes(words):
    data = b""
    for network, gateway in zip(words[::2], words[1::2]):
        network = ipaddress.ip_network(network)
        data += bytes([network.prefixlen]) + network.network_address.packed[: (network.prefixlen + 7) // 8]
        data += packed(gateway)
    return data


def configured_options():
    for line in (HOME / "options").read_text().splitlines():
        name, *words = line.split(",")
        number = OPTION_NUMBERS.get(name.removeprefix("option:"))
        if number and words:
            yield number, routes(words) if number == 121 else b"".join(map(packed, words))


def options_of(packet):
    found, rest = {}, packet[240:]
    while rest and rest[0] != 255:
        if rest[0] == 0:
            rest = rest[1:]
            continue
        found[rest[0]] = rest[2 : 2 + rest[1]]
        rest = rest[2 + rest[1] :]
    return found


def grant(packet, address):
    seconds = struct.pack("!I", LEASE_SECONDS)
    head = struct.pack("!BBBB", 2, 1, 6, 0) + packet[4:8] + bytes(4) + packet[12:16] + packed(address) + packed(SERVER)
    head += bytes(4) + packet[28:44] + bytes(192) + COOKIE
    options = {53: bytes([ACK]), 54: packed(SERVER), 51: seconds, 1: packed(MASK), **dict(configured_options())}
    return head + b"".join(bytes([number, len(data)]) + data for number, data in options.items()) + b"\xff"


def hand_over(packet, old, address):
    """The ordinary server goes on with the lease as it is now."""
    hardware = ":".join(f"{byte:02x}" for byte in packet[28:34])
    leases = HOME / "leases"
    kept = [line for line in leases.read_text().splitlines() if f" {old} " not in line] if leases.exists() else []
    identifier = options_of(packet).get(61)
    client = ":".join(f"{byte:02x}" for byte in identifier) if identifier else "*"
    kept.append(f"{int(time.time()) + LEASE_SECONDS} {hardware} {address} * {client}")
    leases.write_text("".join(f"{line}\n" for line in kept))
    subprocess.run(["/usr/lib/isp/serve"], check=True)


def main(address):
    server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, DEVICE.encode() + b"\0")
    server.bind(("0.0.0.0", 67))
    (HOME / "renumber.ready").touch()
    while True:
        packet, sender = server.recvfrom(2048)
        if len(packet) < 240 or packet[236:240] != COOKIE or options_of(packet).get(53) != bytes([REQUEST]):
            continue
        if packet[12:16] == bytes(4):  # not a renewal
            continue
        time.sleep(0.05)  # the client loses an answer that comes before it has closed the socket it asked from
        server.sendto(grant(packet, address), (sender[0], 68))
        server.close()
        hand_over(packet, sender[0], address)
        return


main(sys.argv[1])
