"""The link monitor turns the namespace's real link changes into the platform's kernel events."""
import re
import signal
import struct

import pytest
from platform_support import eventually, namespace, receiver  # noqa: F401 (fixtures)

PORTS = """
ip link add eth0.5 type veth peer name far5
ip link add eth0.2 type veth peer name far2
for port in eth0.5 far5 eth0.2; do ip link set $port up; done
"""
USUAL = ("eth0.[0-9]", "atm[0-9]", "ptm[0-9]")


@pytest.fixture
def linkd(namespace, receiver):
    namespace.sh(PORTS)
    folder = namespace.hardware / "link"
    folder.mkdir()
    return namespace.start("port-linkd", "--pid-file", receiver.registration, "--link-folder", folder, *USUAL)


def flaps(count, last):
    lines = ["link set far5 down", "link set far5 up"] * count + [f"link set far5 {last}"]
    return "ip -batch - <<E\n" + "\n".join(lines) + "\nE\n"


def test_pulled_and_plugged_cable_is_told_with_speed_and_duplex(namespace, receiver, linkd):
    namespace.sh("ip link set far5 down")
    assert eventually(lambda: receiver.texts() == ["eth0.5:down:0:H"])
    namespace.sh("ip link set far5 up")
    assert eventually(lambda: len(receiver.texts()) == 2)
    assert re.fullmatch(r"eth0\.5:up:\d+:[FH]", receiver.texts()[1])


def test_event_comes_from_the_kernel_with_the_type_of_texts(namespace, receiver, linkd):
    namespace.sh("ip link set far2 up")
    length, kind, _, _, sender = struct.unpack("=IHHII", receiver.first()[:16])
    assert (kind, sender) == (0x2000, 0)
    assert length == 16 + len(receiver.texts()[0]) + 1


def test_link_that_is_up_from_the_beginning_is_no_event(namespace, receiver, linkd):
    namespace.sh("ip link set far2 up")
    eventually(receiver.texts)
    assert all(text.startswith("eth0.2:up") for text in receiver.texts())


def test_unwatched_links_are_not_told(namespace, receiver, linkd):
    namespace.sh("ip link set lo up; ip link add br0 type bridge; ip link set br0 up; ip link set far2 up")
    eventually(receiver.texts)
    assert len(receiver.texts()) == 1


def test_leaving_a_bridge_is_not_a_lost_link(namespace, receiver, linkd):
    namespace.sh("ip link add br0 type bridge; ip link set eth0.5 master br0; ip link set eth0.5 nomaster;"
                 "ip link set far2 up")
    assert eventually(lambda: [text for text in receiver.texts() if text.startswith("eth0.2")])
    assert [text for text in receiver.texts() if text.startswith("eth0.5")] == []


def test_removed_port_is_down(namespace, receiver, linkd):
    namespace.sh("ip link del eth0.5")
    assert eventually(lambda: receiver.texts() == ["eth0.5:down:0:H"])


def test_port_switched_off_and_on_is_told_both_times(namespace, receiver, linkd):
    namespace.sh("ip link set eth0.5 down; ip link set eth0.5 up")
    assert eventually(lambda: len(receiver.texts()) == 2)
    assert [text.split(":")[1] for text in receiver.texts()] == ["down", "up"]


@pytest.mark.parametrize("last", ["up", "down"])
def test_a_hundred_flaps_end_in_the_true_state_and_never_repeat_one(namespace, receiver, linkd, last):
    namespace.sh(flaps(100, last) + "ip link set far2 up")
    assert eventually(lambda: [text for text in receiver.texts() if text.startswith("eth0.2")])
    # The first flap takes the link down, so the events alternate from there.
    states = lambda: [text.split(":")[1] for text in receiver.texts() if text.startswith("eth0.5")]
    assert eventually(lambda: (states() or ["up"])[-1] == last)
    assert states() == ["down" if number % 2 == 0 else "up" for number in range(len(states()))]


def test_after_an_overrun_the_true_state_is_read_again(namespace, receiver, linkd):
    linkd.send_signal(signal.SIGSTOP)
    namespace.sh(flaps(3000, "down") + "ip link set far2 up; ip link del eth0.2; ip link add eth0.3 type veth peer name far3;"
                 "ip link set eth0.3 up; ip link set far3 up")
    linkd.send_signal(signal.SIGCONT)
    assert eventually(lambda: [text for text in receiver.texts() if text.startswith("eth0.3:up")])
    assert [text for text in receiver.texts() if text.startswith("eth0.5")][-1] == "eth0.5:down:0:H"


def test_process_that_takes_no_events_for_a_while_still_learns_the_last_state(namespace, receiver, linkd):
    receiver.program.send_signal(signal.SIGSTOP)
    for _ in range(10):
        namespace.sh(flaps(100, "up"))
    namespace.sh("ip link set far5 down")
    receiver.program.send_signal(signal.SIGCONT)
    namespace.sh("ip link set far2 up")
    assert eventually(lambda: [text for text in receiver.texts() if text.startswith("eth0.2")])
    assert eventually(lambda: [text for text in receiver.texts() if text.startswith("eth0.5")][-1] == "eth0.5:down:0:H")


def test_change_while_nobody_is_registered_is_not_told_later(namespace, receiver, linkd):
    registered = receiver.registration.read_text()
    receiver.registration.write_text("0\n")
    namespace.sh("ip link set far5 down; ip link set far2 up")
    assert eventually((namespace.hardware / "link/eth0.2").exists)
    receiver.registration.write_text(registered)
    namespace.sh("ip link set far2 down")
    assert eventually(receiver.texts)
    assert receiver.texts() == ["eth0.2:down:0:H"]


def test_dsl_device_is_told_by_name_and_state(namespace, receiver, linkd):
    namespace.sh("ip link add ptm0 type veth peer name line; ip link set line up; ip link set ptm0 up")
    assert eventually(lambda: receiver.texts() == ["ptm0:up"])


def test_only_the_ports_of_the_command_line_are_watched(namespace, receiver):
    namespace.start("port-linkd", "--pid-file", receiver.registration, "wan*")
    namespace.sh(PORTS + "ip link add wan7 type veth peer name far7; ip link set far7 up; ip link set wan7 up")
    assert eventually(receiver.texts)
    assert [text.split(":")[0] for text in receiver.texts()] == ["wan7"]
