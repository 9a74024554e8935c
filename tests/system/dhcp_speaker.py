"""Runs on a host of the LAN, in place of a client: asks for a lease with any bytes as options, and prints the address.
dhcp_speaker.py DEVICE MAC [CODE:HEX]...; data of more than 255 bytes goes in several options of the code."""
import socket
import struct
import sys

SERVER, CLIENT = 67, 68
DISCOVER, OFFER, REQUEST, ACK = 1, 2, 3, 5
TYPE, ADDRESS, IDENTIFIER = 53, 50, 54
COOKIE = bytes([99, 130, 83, 99])
TRANSACTION, BROADCAST = 0x7A72, 0x8000
SECONDS = 5


def option(code, data):
    return b"".join(bytes([code, len(data[at : at + 255])]) + data[at : at + 255] for at in range(0, len(data) or 1, 255))


def packet(mac, *options):
    head = struct.pack("!BBBBIHH16x", 1, 1, 6, 0, TRANSACTION, 0, BROADCAST)
    return head + mac.ljust(16, b"\0") + bytes(192) + COOKIE + b"".join(options) + b"\xff"


def options_of(data):
    found, at = {}, 240
    while at < len(data) and data[at] != 255:
        if data[at] == 0:
            at += 1
            continue
        found[data[at]] = data[at + 2 : at + 2 + data[at + 1]]
        at += 2 + data[at + 1]
    return found


def answer(line, mac, kind):
    """The server's address for us and its options."""
    while True:
        data = line.recv(4096)
        options = options_of(data)
        if data[28:34] == mac and options.get(TYPE) == bytes([kind]):
            return data[16:20], options


def main(device, mac, *told):
    mac = bytes.fromhex(mac.replace(":", ""))
    told = [option(int(code), bytes.fromhex(data)) for code, data in (word.split(":") for word in told)]
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as line:
        line.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        line.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, device.encode())
        line.settimeout(SECONDS)
        line.bind(("", CLIENT))
        line.sendto(packet(mac, option(TYPE, bytes([DISCOVER])), *told), ("255.255.255.255", SERVER))
        address, options = answer(line, mac, OFFER)
        line.sendto(packet(mac, option(TYPE, bytes([REQUEST])), option(ADDRESS, address),
                           option(IDENTIFIER, options[IDENTIFIER]), *told), ("255.255.255.255", SERVER))
        print(socket.inet_ntoa(answer(line, mac, ACK)[0]))


if __name__ == "__main__":
    main(*sys.argv[1:])
