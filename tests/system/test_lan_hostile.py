"""What the LAN does to the gateway: clients that share what should be theirs alone, that say what nobody should say, reports
about ports that nobody has, and a DHCP server that dies."""
import json

import pytest

from lan_clients import DEVICES, POOL, address, bridge_of, described, devices, server, speak, static_addresses, visitors
from links import Links
from support import REPOSITORY, eventually

GUESTS = REPOSITORY / "gateway" / "defaults-guests.json"
IDENTITY = ("--oui", "0011AA", "--serial", "TWIN", "--product-class", "Box")
EVENT = "/usr/libexec/tarn/port-event"
REPORT = 0x800000FB
FORUM = (3561).to_bytes(4, "big")
COMMANDS = b"\"'\n; touch /tmp/pwned; $(touch /tmp/pwned) `touch /tmp/pwned` \\ | & %s%n\t\x01"
HOSTILE = [COMMANDS, b"x" * 300, b"\xff\xfe\xc3(\xed\xa0\x80\xf8\x88\x80\x80\x80", b'","ac":"del","serial":"', b"*", "\N{SNOWMAN}é".encode()]


@pytest.fixture(scope="module")
def home(tmp_path_factory):
    """A gateway whose leases are all static ones, with a bridge for guests."""
    booted = Links(tmp_path_factory.mktemp("home"))
    booted.up("--config", GUESTS)
    yield booted
    booted.down()


@pytest.fixture
def host(home):
    with visitors(home) as add:
        yield add


def forget_static_addresses(home):
    for path in home.get(f"{POOL}.StaticAddress.*.Enable"):
        home.inside("vcfgctl", "del", path.removesuffix(".Enable"))


def option125(**identity):
    fields = b"".join(bytes([code, len(data)]) + data for code, data in zip((1, 2, 3), identity.values()))
    return FORUM + bytes([len(fields)]) + fields


# --- the server dies ---

@pytest.mark.parametrize(("again", "newcomer"), [("the service", "new1"), ("the next write", "new2")])
def test_killed_server_is_started_again_and_leases_go_on(home, host, again, newcomer):
    host("old")
    leased = address(home, "old")
    home.must("service", "stop", "dhcpd")
    assert not server(home)
    if again == "the service":
        home.must("service", "start", "dhcpd")
    else:
        home.inside("vcfgctl", "set", f"{POOL}.LeaseTime=1800")
    eventually(lambda: server(home))
    mark = home.mark()
    home.must("lan", "host", "move", "old", "eth0.4")
    host(newcomer)
    assert address(home, "old") == leased
    assert address(home, newcomer) != leased
    home.logged("DHCP add", mark)
    eventually(lambda: described(home, newcomer)["mac"] in static_addresses(home))


def test_server_that_is_killed_while_clients_ask_leases_them_later(home, host):
    host("first")
    home.must("service", "stop", "dhcpd")
    host("second")
    home.must("service", "start", "dhcpd")
    assert len({address(home, "first"), address(home, "second")}) == 2


# --- what should be of one client is of two ---

def test_two_clients_with_one_identity_are_one_device(home, host):
    host("one", *IDENTITY)
    eventually(lambda: devices(home) == {"TWIN": ("0011AA", "Box", described(home, "one")["mac"])})
    host("two", *IDENTITY)
    eventually(lambda: described(home, "two")["mac"] in static_addresses(home))
    assert devices(home) == {"TWIN": ("0011AA", "Box", described(home, "one")["mac"])}
    home.must("lan", "host", "release", "two")
    eventually(lambda: devices(home) == {})
    mark = home.mark()
    home.must("lan", "host", "release", "one")
    home.logged("mgabDevUpdate: Device does not exist,return!", mark)
    assert devices(home) == {}


def test_two_clients_with_one_hardware_address_share_one_entry(home, host):
    mac = "02:00:00:00:cc:01"
    host("real", "--mac", mac)
    leased = address(home, "real")
    host("clone", "--mac", mac, port="eth0.4")
    assert address(home, "clone") == leased
    home.settle()
    assert static_addresses(home)[mac] == leased
    assert len(home.get(f"{POOL}.StaticAddress.*.Chaddr")) == len(static_addresses(home))


def test_address_that_two_clients_are_promised_goes_to_one(home, host):
    macs = ["02:00:00:00:cc:11", "02:00:00:00:cc:12"]
    for mac in macs:
        path = home.inside("vcfgctl", "add", f"{POOL}.StaticAddress.").strip()
        home.inside("vcfgctl", "set", f"{path}.Enable=true", f"{path}.Chaddr={mac}", f"{path}.Yiaddr=192.168.1.20")
    for name, mac in zip(("left", "right"), macs):
        host(name, "--mac", mac)
        address(home, name)
    held = {mac: address(home, name) for name, mac in zip(("left", "right"), macs)}
    assert len(set(held.values())) == 2
    eventually(lambda: held.items() <= static_addresses(home).items())
    assert server(home)


def test_address_that_somebody_has_taken_is_not_given_away(home, host):
    host("squatter", "--address", "192.168.1.30/24")
    before = {name: home.value(f"{POOL}.{name}") for name in ("MinAddress", "MaxAddress")}
    home.inside("vcfgctl", "set", f"{POOL}.MinAddress=192.168.1.30", f"{POOL}.MaxAddress=192.168.1.31")
    try:
        host("decent")
        assert address(home, "decent") == "192.168.1.31"
    finally:
        home.inside("vcfgctl", "set", *(f"{POOL}.{name}={value}" for name, value in before.items()))


def test_hardware_address_in_other_letters_is_the_same_client(home, host):
    forget_static_addresses(home)
    path = home.inside("vcfgctl", "add", f"{POOL}.StaticAddress.").strip()
    home.inside("vcfgctl", "set", f"{path}.Enable=true", f"{path}.Chaddr=02:00:00:AA:BB:CC", f"{path}.Yiaddr=192.168.1.40")
    host("mixed", "--mac", "02:00:00:aa:bb:cc")
    assert address(home, "mixed") == "192.168.1.40"
    eventually(lambda: static_addresses(home) == {"02:00:00:aa:bb:cc": "192.168.1.40"})
    assert list(home.get(f"{POOL}.StaticAddress.*.Chaddr")) == [f"{path}.Chaddr"]


# --- reports about what is not there ---

@pytest.mark.parametrize(("ifname", "phyif", "group"), [
    ("br9", "eth0.2", "br1"), ("br0", "eth9", "br1"), ("br0", "eth0.2", "br9"), ("BR0", "eth0.2", "br1"), ("br0", "eth0.2 ", "br1"),
    ("br0", "eth0.2", "br1/../br1"), ("br0", "$(reboot)", "br1"), ("x" * 300, "eth0.2", "br1")])
def test_group_of_ports_that_do_not_exist_is_one_line_and_changes_nothing(home, ifname, phyif, group):
    before, mark = home.model(), home.mark()
    home.tell(REPORT, json.dumps({"ac": "crit", "ifname": ifname, "phyif": phyif, "tag": f"group_{group}", "mac": "02:00:00:00:00:01"}))
    told = [line["text"] for line in home.log(mark) if line["channel"] == "syslog"]
    assert told == [f"tarnProcessDhcpdOption : no bridge ports {ifname}, {phyif} and {group}"]
    assert home.model() == before
    assert bridge_of(home, "eth0.2") == "br0"


# --- clients that say what nobody should say ---

@pytest.fixture(scope="module")
def speaker(home):
    with visitors(home) as add:
        yield add("speaker", "--address", "192.168.1.9/24")


@pytest.mark.parametrize("number", range(len(HOSTILE)))
def test_hostile_client_is_leased_like_any_other(home, speaker, number):
    mac, text, mark = f"02:00:00:00:dd:{number:02x}", HOSTILE[number], home.mark()
    leased = speak(home, speaker, mac, o12=text, o60=text, o61=text, o81=b"\0\0\0" + text[:200])
    eventually(lambda: static_addresses(home).get(mac) == leased)
    assert not home.count("error parsing json", mark)
    assert home.run("test", "-e", "/tmp/pwned").returncode == 1


@pytest.mark.parametrize(("serial", "stored"), [
    (COMMANDS[:60], COMMANDS[:60].decode()), (b"\xff(\xc3", "\N{REPLACEMENT CHARACTER}(\N{REPLACEMENT CHARACTER}"), (b"y" * 200, "y" * 64),
    (b'","ac":"del', '","ac":"del')])
def test_hostile_identity_is_a_text_of_the_table(home, speaker, serial, stored):
    speak(home, speaker, f"02:00:00:00:ee:{len(serial):02x}", o125=option125(oui=b'"$`\n', serial=serial, product=b"\\"))

    def held():
        objects = json.loads(home.inside("vcfgctl", "dump"))["objects"]
        return [record for path, record in objects.items() if path.startswith(f"{DEVICES}.") and record.get("SerialNumber") == stored]

    (record,) = eventually(held)
    assert (record["ManufacturerOUI"], record["ProductClass"]) == ('"$`\n', "\\")
    assert home.run("test", "-e", "/tmp/pwned").returncode == 1


def test_vendor_class_of_any_text_is_known_by_that_text(home, speaker):
    vendor = '"\'\n$(touch /tmp/pwned)\\'
    home.inside("vcfgctl", "set", f"{POOL}.X_VORAN_AlwaysStatic=false", f"DHCPv4.Server.X_VORAN_VendorClass.VendorClassID5={vendor}")
    mark = home.mark()
    try:
        leased = speak(home, speaker, "02:00:00:00:ef:01", o60=vendor.encode())
        speak(home, speaker, "02:00:00:00:ef:02", o60=vendor.encode() + b" ")
        eventually(lambda: home.count("DHCP add", mark) == 2)
        home.settle()
        assert static_addresses(home)["02:00:00:00:ef:01"] == leased
        assert "02:00:00:00:ef:02" not in static_addresses(home)
    finally:
        home.inside("vcfgctl", "set", f"{POOL}.X_VORAN_AlwaysStatic=true")


@pytest.mark.parametrize("text", HOSTILE)
def test_payload_is_json_whatever_the_client_says(home, text):
    said = text.decode(errors="surrogateescape")
    names = ("DNSMASQ_VENDOR_CLASS", "DNSMASQ_CPEWAN_OUI", "DNSMASQ_CPEWAN_SERIAL", "DNSMASQ_CPEWAN_CLASS", "DNSMASQ_CLIENT_ID", "DNSMASQ_SUPPLIED_HOSTNAME")
    words = ["env", "-i", "VCFG_RUN_DIR=/run/vcfg", *(f"{name}={said}" for name in names)]
    printed = home.must("exec", "--", *words, EVENT, "--print", "dnsmasq", "add", "02:00:00:00:00:97", "192.168.1.5", said, data=b"")
    known = text.decode(errors="replace")
    assert json.loads(printed.decode()) == {"ac": "add", "mac": "02:00:00:00:00:97", "ip": "192.168.1.5",
                                            **{key: known for key in ("vendor", "moui", "serial", "pclass")}}
