"""What the management connection tells: the NAT that it runs behind; and the LAN's devices for TR-064."""
import pytest

from links import Links, eventually

NAT_DETECT, NAT_CLEAR, LAN_DEVICE_UPDATE = 0x800000DE, 0x800000DF, 0x800000F3
DETECTED, ADDRESS = "ManagementServer.NATDetected", "ManagementServer.UDPConnectionRequestAddress"
TR064 = ["killall -9 vtr64", "vtr64 &"]
DEVICE = "LAN device update"  # the payload says nothing that counts


@pytest.fixture(scope="module")
def gateway(tmp_path_factory):
    booted = Links(tmp_path_factory.mktemp("management"))
    booted.boot()
    yield booted
    booted.down()


def nat(gateway):
    return gateway.value(DETECTED), gateway.value(ADDRESS)


def test_detected_nat_is_in_the_data_model_until_it_is_cleared(gateway):
    gateway.tell(NAT_DETECT, "198.51.100.7:3478")
    assert nat(gateway) == ("true", "198.51.100.7:3478")
    gateway.tell(NAT_DETECT, "198.51.100.8:40000")
    assert nat(gateway) == ("true", "198.51.100.8:40000")
    gateway.tell(NAT_CLEAR, "198.51.100.9:1")
    assert nat(gateway) == ("false", "")


def test_too_long_an_address_is_cut_behind_a_whole_character(gateway):
    gateway.tell(NAT_DETECT, "x" * 255 + "ä")
    assert nat(gateway) == ("true", "x" * 255)
    gateway.tell(NAT_CLEAR)


def test_detection_without_payload_changes_nothing(gateway):
    gateway.tell(NAT_DETECT, "198.51.100.7:3478")
    mark = gateway.mark()
    gateway.tell(NAT_DETECT)
    assert gateway.count("receiving VCFG_MSG_MGMT_NAT_DETECT", mark) == 1
    assert nat(gateway) == ("true", "198.51.100.7:3478")
    gateway.tell(NAT_CLEAR)


def test_address_is_a_text_and_no_command(gateway):
    mark = gateway.mark()
    gateway.tell(NAT_DETECT, "$(touch /tmp/pwned);`reboot`")
    assert nat(gateway) == ("true", "$(touch /tmp/pwned);`reboot`")
    assert gateway.commands(mark) == []
    gateway.tell(NAT_CLEAR)


def test_lan_device_restarts_tr064_only_while_it_is_enabled(gateway):
    mark = gateway.mark()
    gateway.tell(LAN_DEVICE_UPDATE, DEVICE)
    assert gateway.commands(mark) == []
    gateway.set("X_VORAN_TR064.Enable=true")
    gateway.tell(LAN_DEVICE_UPDATE, DEVICE)
    assert gateway.commands(mark) == TR064
    gateway.set("X_VORAN_TR064.Enable=false")
    gateway.tell(LAN_DEVICE_UPDATE, DEVICE)
    assert gateway.commands(mark) == TR064


def test_lan_device_restarts_a_tr064_that_runs(gateway):
    script = "#!/bin/bash\\nwhile sleep 1; do :; done\\n"
    gateway.inside("sh", "-c", f"printf '{script}' >/usr/bin/vtr64; chmod 755 /usr/bin/vtr64")
    gateway.set("X_VORAN_TR064.Enable=true")
    gateway.tell(LAN_DEVICE_UPDATE, DEVICE)
    (first,) = eventually(lambda: gateway.processes("vtr64"))
    gateway.tell(LAN_DEVICE_UPDATE, DEVICE)
    (second,) = eventually(lambda: [number for number in gateway.processes("vtr64") if number != first])
    assert gateway.processes("vtr64") == [second]
