"""The packages on a clean machine: installed, set up, leased, failed over, upgraded and removed, one after the other on one
machine, as an administrator would go."""
import json
import re
import time

import pytest
from machine import Machine, until
from neighbours import Host, Provider

FIRST, SECOND = "198.51.100", "203.0.113"
NOT_OURS = r"/(proc|sys|dev|run|tmp|packages|var/(lib/(apt|dpkg|systemd)|log|cache))(/|$)"


@pytest.fixture(scope="module", name="street")
def a_street(older_packages, packages, tmp_path_factory):
    """The machine, and who is at its cables."""
    folder = tmp_path_factory.mktemp("both")
    (folder / "old").symlink_to(older_packages)
    (folder / "new").symlink_to(packages)
    machine = Machine(folder)
    ends = []
    try:
        ends.append(Provider(machine, "wan0", FIRST, "2001:db8:1"))
        ends.append(Provider(machine, "wan1", SECOND, "2001:db8:2"))
        ends.append(Host(machine, "lan0"))
        ends.append(Host(machine, "lan1"))
        for provider in ends[:2]:
            provider.serve()
        yield machine, *ends
    finally:
        for end in ends:
            end.end()
        machine.end()


def files(machine):
    found = machine.out("find / -xdev -not -type d; find /etc /usr/libexec /usr/share /var/lib -xdev -type d").splitlines()
    return {name for name in found if not re.match(NOT_OURS, name)}


def default_route(machine):
    first = (machine.out("ip -4 route show default").splitlines() or [""])[0]
    return first


def rests(machine, path, device):
    """Whether all that flaps have left to do there is done: its clients come and go no more, and it has its address."""
    def now():
        return machine.get(path), machine.out(f"ip -4 addr show {device}"), client(machine, device)
    before = now()
    time.sleep(5)
    address = next((value for name, value in before[0].items() if name.endswith("IPv4Address.1.IPAddress")), "none")
    return address in before[1] and now() == before


def client(machine, device):
    return machine.out(f"cat /run/udhcpc-{device}.pid").strip()


def test_full_disk_fails_the_installation_and_another_one_repairs_it(street):
    machine = street[0]
    machine.before = files(machine)
    machine.passwords = machine.out("cat /etc/passwd /etc/group")
    machine.sh("dd if=/dev/zero of=/filler bs=64k 2>/dev/null; truncate -s -512k /filler", check=False)
    with pytest.raises(AssertionError, match="No space left on device"):
        machine.install("old")
    assert machine.out("systemctl is-active vcmd tarn").split() == ["inactive", "inactive"]
    machine.sh("rm /filler")


def test_installing_touches_no_interface(street):
    machine = street[0]
    machine.sh("dpkg --configure -a")
    machine.install("old")
    assert machine.out("systemctl is-active vcmd tarn").split() == ["inactive", "inactive"]
    assert "UP" not in machine.out("ip -br link show wan0").split()[1]
    assert machine.out("tarn-port check").count("missing  /usr/libexec") == 0


def test_setup_starts_the_services_and_leases(street):
    machine = street[0]
    machine.sh("tarn-port setup --wan wan0 --wan wan1 --lan lan0 --lan lan1 --ipv6")
    assert machine.out("systemctl is-active vcmd tarn").split() == ["active", "active"]
    machine.until("IP.Interface.1.IPv4Address.*.Status", "Enabled")
    addresses = machine.get("IP.Interface.1.IPv4Address.")
    assert any(value.startswith(FIRST) for value in addresses.values()), addresses
    assert FIRST in machine.out("ip -4 addr show wan0")
    machine.until("IP.Interface.3.IPv4Address.*.Status", "Enabled")
    assert f"via {FIRST}.1 dev wan0" in default_route(machine)
    assert f"nameserver {FIRST}.53" in machine.out("cat /etc/resolv.conf")
    assert machine.out("ping -c 1 -W 5 198.51.100.1").count("1 received") == 1


def test_run_directory_is_the_groups(street):
    machine = street[0]
    assert machine.out("stat -c '%a %U %G' /run/vcfg").strip() == "770 root tarn"
    machine.sh("adduser --quiet --disabled-password --gecos '' anna; adduser --quiet --disabled-password --gecos '' ben; adduser anna tarn")
    member = machine.sh("runuser -u anna -- vcfgctl get IP.Interface.1.IPv4Address.")
    assert FIRST in member.stdout
    assert machine.sh("runuser -u anna -- vcfgctl set DeviceInfo.HostName=annas").returncode == 0
    assert machine.sh("runuser -u ben -- vcfgctl get IP.Interface.1.IPv4Address.", check=False).returncode != 0


def test_lan_hosts_are_served(street):
    machine, _, _, one, other = street
    addresses = {host.lease(machine) for host in (one, other)}
    assert len(addresses) == 2 and all(address.startswith("192.168.77.") for address in addresses)
    for host in (one, other):
        host.run("ping", "-c", "1", "-W", "5", "192.168.77.1")


def test_renewal_with_another_address_brings_its_routes(street):
    machine, first = street[:2]
    first.renumber(f"{FIRST}.77", "0.0.0.0/0", f"{FIRST}.1", "10.9.0.0/16", f"{FIRST}.7")
    machine.sh("vcfgctl send --to tarn --type 0x3ED --iid 1")
    until(lambda: f"10.9.0.0/16 via {FIRST}.7 dev wan0" in machine.out("ip -4 route"), lambda: machine.out("ip -4 route; journalctl -n 40"))
    assert "10.9.0.0" in machine.get("Routing.Router.1.IPv4Forwarding.*.DestIPAddress").values()
    assert f"{FIRST}.77" in machine.get("DHCPv4.Client.1.IPAddress").values()
    first.serve()


def test_dual_stack(street):
    machine = street[0]
    until(lambda: "2001:db8:1::1" in machine.out("ip -6 addr show wan0 scope global"), lambda: machine.out("ip -6 addr; journalctl -n 50 --no-pager"))
    until(lambda: any(v.startswith("2001:db8:1") for v in machine.get("IP.Interface.1.IPv6Address.*.IPAddress").values()),
          lambda: machine.get("IP.Interface.1.IPv6Address."))
    until(lambda: "dev wan0" in machine.out("ip -6 route show default"), lambda: machine.out("ip -6 route"))


def test_cable_pulled_and_plugged(street):
    machine, first = street[:2]
    first.pull()
    machine.until("IP.Interface.1.Status", "LowerLayerDown")
    until(lambda: f"via {SECOND}.1 dev wan1" in default_route(machine), lambda: machine.out("ip -4 route"))
    assert machine.out(f"ping -c 1 -W 5 {SECOND}.1").count("1 received") == 1
    first.plug()
    machine.until("IP.Interface.1.Status", "Up")
    until(lambda: f"via {FIRST}.1 dev wan0" in default_route(machine), lambda: machine.out("ip -4 route"))


def test_five_hundred_link_events_a_second_end_in_the_true_state(street):
    machine, _, second = street[:3]
    started = time.monotonic()
    flaps = "link set cable down\nlink set cable up\n" * 250
    second.run("sh", "-c", f"ip -batch - <<E\n{flaps}E")
    assert time.monotonic() - started < 10
    machine.until("Ethernet.Interface.3.Status", "Up")
    second.pull()
    machine.until("Ethernet.Interface.3.Status", "Down")
    second.plug()
    machine.until("IP.Interface.3.Status", "Up")
    machine.until("IP.Interface.3.IPv4Address.*.Status", "Enabled", 60)
    until(lambda: rests(machine, "IP.Interface.3.", "wan1"), lambda: machine.out("ip -4 addr; journalctl -n 60 --no-pager"), 60)
    assert machine.out("systemctl show -P NRestarts tarn vcmd").split() == ["0", "0"]


def test_client_that_nobody_wired_changes_nothing(street):
    machine = street[0]
    before = machine.get("IP.Interface.3.IPv4Address.")
    machine.sh("udhcpc -i wan1 -n -q -t 5 -T 1 -s /bin/true -x 0x3d:0102030405")
    assert machine.get("IP.Interface.3.IPv4Address.") == before
    address = before[next(name for name in before if name.endswith("IPAddress"))]
    until(lambda: address in machine.out("ip -4 addr show wan1"), lambda: machine.out("ip -4 addr"))


def test_client_that_is_started_twice_runs_once(street):
    machine = street[0]
    process = client(machine, "wan1")
    machine.sh("/usr/libexec/tarn/start-client dhcpv4 wan1")
    assert machine.out("pgrep -xa udhcpc").count("-i wan1 ") == 1 and client(machine, "wan1") == process


def test_watchdog_restarts_a_silent_daemon_and_the_lease_stays(street):
    machine = street[0]
    machine.until("DHCPv4.Client.1.DHCPStatus", "Bound")
    lease, process = client(machine, "wan0"), machine.out("systemctl show -P MainPID tarn").strip()
    machine.sh(f"kill -STOP {process}")
    until(lambda: machine.out("systemctl show -P MainPID tarn").strip() not in (process, "0")
          and machine.out("systemctl is-active tarn").strip() == "active", lambda: machine.out("systemctl status tarn"), 150)
    assert "Watchdog timeout" in machine.out("journalctl -u tarn --no-pager")
    assert client(machine, "wan0") == lease
    assert FIRST in machine.out("ip -4 addr show wan0")
    machine.until("IP.Interface.1.IPv4Address.*.Status", "Enabled")


def test_killed_configuration_daemon_comes_back_with_the_lease(street):
    machine = street[0]
    lease = client(machine, "wan0")
    machine.sh("systemctl kill -s KILL --kill-whom=main vcmd")
    until(lambda: machine.sh("vcfgctl save", check=False).returncode == 0, lambda: machine.out("systemctl status vcmd"))
    assert client(machine, "wan0") == lease
    machine.until("IP.Interface.1.IPv4Address.*.Status", "Enabled")


def test_upgrade_keeps_configuration_and_lease(street):
    machine = street[0]
    machine.sh("vcfgctl set --wait DHCPv4.Server.Pool.1.LeaseTime=1234 && vcfgctl save")
    lease = client(machine, "wan0")
    machine.install("new")
    assert machine.out("systemctl is-active vcmd tarn").split() == ["active", "active"]
    assert machine.out("dpkg-query -W -f '${Version}' tarn-linux") != "0.0.9"
    assert machine.get("DHCPv4.Server.Pool.1.LeaseTime") == {"DHCPv4.Server.Pool.1.LeaseTime": "1234"}
    assert machine.get("DeviceInfo.HostName") == {"DeviceInfo.HostName": "annas"}
    assert client(machine, "wan0") == lease
    machine.until("IP.Interface.1.IPv4Address.*.Status", "Enabled")


def test_sandbox_is_as_the_page_says(street, page):
    machine = street[0]
    for unit in ("vcmd.service", "tarn.service", "tarn-client@.service"):
        name = unit.replace("@", "@x")
        figure = re.search(r"level for \S+: ([0-9.]+)", machine.out(f"systemd-analyze security --no-pager {name}"))[1]
        assert f"| `{unit}` | {figure} |" in page, f"{unit}: {figure}"


def test_kernel_refuses_the_services_what_they_do_not_need(street):
    """The kernel itself says which of its calls are filtered."""
    machine = street[0]
    for unit in ("vcmd", "tarn"):
        process = machine.out(f"systemctl show -P MainPID {unit}").strip()
        assert "Seccomp:\t2" in machine.out(f"cat /proc/{process}/status"), unit


def test_removal_and_purge_leave_nothing(street):
    machine = street[0]
    names = "tarn-linux tarn libvcfg1 vcfg-tools"
    machine.sh(f"apt-get remove -y -qq {names}")
    assert machine.out("ip -4 -o addr show scope global").strip() == ""
    assert machine.out("ls /sys/class/net").split() == ["lan0", "lan1", "lo", "wan0", "wan1"]
    assert machine.out("systemctl list-units --no-legend --state=active,activating,failed 'tarn*' 'vcmd*'").strip() == ""
    kept = json.loads(machine.out("cat /var/lib/tarn/vcfg_config.json"))
    assert kept["objects"]["DHCPv4.Server.Pool.1"]["LeaseTime"] == 1234
    machine.sh(f"apt-get purge -y -qq {names}; deluser --quiet --remove-home anna; deluser --quiet --remove-home ben")
    assert machine.out("systemctl list-unit-files --no-legend 'tarn*' 'vcmd*'").strip() == ""
    others = set(machine.out("cat /var/lib/dpkg/info/*.list").splitlines())
    assert {name for name in files(machine) - machine.before - others if re.search("tarn|vcfg|vcmd|resolv", name)} == set()
    assert [line for line in machine.out("cat /etc/passwd /etc/group").splitlines() if "tarn" in line and line not in machine.passwords] == []
