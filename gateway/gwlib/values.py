"""What the values of the command line may be. A converter raises ValueError with what is taken instead."""
import ipaddress
import re

from .errors import GatewayError

HARDWARE = re.compile(r"([0-9a-fA-F]{2}:){5}[0-9a-fA-F]{2}")


def taking(name, convert):
    """For argparse: a value of the argument, converted; a wrong one ends the call with one line."""
    def converted(text):
        try:
            return convert(text)
        except ValueError as problem:
            raise GatewayError(f"{name} {text!r}: {problem}") from None
    return converted


def or_none(convert, empty=""):
    """The word none stands for having none of it."""
    return lambda text: empty if text in ("none", "") else convert(text)


def whole(least, most=None):
    """A whole number, decimal or as 0x..."""
    def convert(text):
        try:
            number = int(text, 0) if re.fullmatch(r"-?\d+|0x[0-9a-fA-F]+", text) else None
        except ValueError:  # 007
            number = int(text, 10)
        if number is None or number < least or (most is not None and number > most):
            raise ValueError("it takes a whole number " + (f"from {least} on" if most is None else f"from {least} to {most}"))
        return number
    return convert


def seconds(text):
    """How long to wait for something."""
    if not re.fullmatch(r"\d+(\.\d*)?|\.\d+", text):
        raise ValueError("it takes seconds, as 5 or 0.3")
    return float(text)


def address4(text):
    return str(_parsed(ipaddress.IPv4Address, text, "an IPv4 address, as 203.0.113.1"))


def addresses4(text):
    return [address4(word) for word in text.split(",")]


def address6(text):
    return str(_parsed(ipaddress.IPv6Address, _without_scope(text), "an IPv6 address, as 2001:db8::1"))


def network6(text):
    return str(_parsed(ipaddress.IPv6Network, _without_scope(text), "an IPv6 prefix without bits beyond its width, as 2001:db8:1::/64"))


def interface4(text):
    """An address and the width of its network."""
    what = "an IPv4 address with its network's width, as 192.168.1.9/24"
    if "/" not in text:
        raise ValueError(f"it takes {what}")
    return str(_parsed(ipaddress.IPv4Interface, text, what))


def routes4(text):
    """NETWORK/WIDTH,GATEWAY,... as a list."""
    words = text.strip().split(",")
    form = "NETWORK/WIDTH,GATEWAY[,...], as 10.9.0.0/16,203.0.113.1"
    if len(words) % 2:
        raise ValueError(f"it takes {form}")
    for network, gateway in zip(words[::2], words[1::2]):
        _parsed(ipaddress.IPv4Network, network, form)
        _parsed(ipaddress.IPv4Address, gateway, form)
    return words


def hardware(text):
    if not HARDWARE.fullmatch(text) or int(text[:2], 16) & 1:
        raise ValueError("it takes the hardware address of one machine, as 02:4c:00:00:00:01")
    return text.lower()


def text(most):
    """A text of a protocol: at most so many bytes, all of them printable."""
    def convert(value):
        if not value.isprintable() or not 0 < len(value.encode(errors="replace")) <= most:
            raise ValueError(f"it takes 1 to {most} printable characters")
        return value
    return convert


def octets(most):
    """Hexadecimal digits, with or without colons."""
    def convert(value):
        try:
            data = bytes.fromhex(value.replace(":", ""))
        except ValueError:
            data = b""
        if not 0 < len(data) <= most:
            raise ValueError(f"it takes 1 to {most} bytes as hexadecimal digits, as 01:02:0a")
        return data.hex()
    return convert


def _without_scope(text):
    if "%" in text:
        raise ValueError("it takes no interface behind %")
    return text


def _parsed(kind, text, what):
    try:
        return kind(text)
    except ValueError as problem:
        raise ValueError(f"it takes {what} ({problem})") from None
