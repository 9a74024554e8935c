"""What changes by itself is fresh for whoever asks for it: the hooks that the gateway ships."""
from support import eventually

CLIENT = "DHCPv4.Client.1.LeaseTimeRemaining"


def fresh(gateway, path):
    return gateway.inside("vcfgctl", "get", "--refresh", path).strip().partition("=")[2]


def test_up_time_is_the_gateways_own(leased):
    first = int(fresh(leased, "DeviceInfo.UpTime"))
    assert 0 <= first < 600
    eventually(lambda: int(fresh(leased, "DeviceInfo.UpTime")) > first)


def test_time_of_the_lease_runs_out_and_begins_anew(leased):
    leased.must("isp", "--lease", "300")
    leased.signal_client("USR1")
    eventually(lambda: int(fresh(leased, CLIENT)) > 290)
    eventually(lambda: int(fresh(leased, CLIENT)) < 299)
    leased.signal_client("USR2")
    eventually(lambda: fresh(leased, CLIENT) == "0")
    leased.must("service", "restart", "dhcpc")
    leased.wait("DHCPv4.Client.1.DHCPStatus=Bound")


def test_hardware_addresses_are_the_kernels(leased):
    assert fresh(leased, "Ethernet.Interface.5.MACAddress") == "02:00:00:00:00:05"
    assert fresh(leased, "Ethernet.Link.1.MACAddress") == "02:00:00:00:00:05"
    assert fresh(leased, "Ethernet.Interface.1.MACAddress") == "02:00:00:00:00:01"


def test_counters_count(leased):
    before = int(fresh(leased, "IP.Interface.1.Stats.PacketsSent"))
    leased.inside("ping", "-c3", "-i0.2", "203.0.113.1")
    assert int(fresh(leased, "IP.Interface.1.Stats.PacketsSent")) >= before + 3
    assert int(fresh(leased, "IP.Interface.1.Stats.BytesReceived")) > 0


def test_interface_without_a_device_keeps_its_counters(leased):
    assert fresh(leased, "IP.Interface.3.Stats.BytesSent") == "0"
    leased.inside("vcfgctl", "set", "IP.Interface.3.X_VORAN_IfName=../../../etc")
    assert fresh(leased, "IP.Interface.3.Stats.BytesSent") == "0"
    leased.inside("vcfgctl", "set", "IP.Interface.3.X_VORAN_IfName=ptm0")
