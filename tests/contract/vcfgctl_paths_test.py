"""What a path of vcfgctl may stand for, in every verb that takes one: filters, aliases, '*', and "Device." before it."""
import select

import pytest
from vcfgctl_kit import VCFGCTL, bus, quiet_bus, wait_for  # noqa: F401 (fixtures)


@pytest.fixture
def three(bus):  # noqa: F811
    """wan (enabled, 1500), lan (not, 1492), guests (enabled, 9000, an address each)."""
    for alias, enable, mtu in (("wan", "true", 1500), ("lan", "false", 1492), ("guests", "true", 9000)):
        path = bus.ok("add", "IP.Interface", f"Alias={alias}", f"Enable={enable}", f"MaxMTUSize={mtu}").strip()
        bus.ok("add", f"{path}.IPv4Address", f"IPAddress=192.0.2.{path[-1]}")
    return bus


def numbers(text):
    return [line.split(".")[2] for line in text.splitlines()]


@pytest.mark.parametrize("filter, found", [
    ("Enable==true", "13"),
    ("Enable==1", "13"),
    ("Enable!=true", "2"),
    ("Alias~an", "12"),
    ("Alias==wan", "1"),
    ("MaxMTUSize<1500", "2"),
    ("MaxMTUSize<=1500", "12"),
    ("MaxMTUSize>1500", "3"),
    ("MaxMTUSize>=1500", "13"),
    ("Enable==true&&MaxMTUSize>1500", "3"),
    ("Enable==true && Alias!=wan", "3"),
    ('Alias=="wan"', "1"),
    ('Alias=="a && b].c"', ""),
    ("wan", "1"),
    ('"lan"', "2"),
])
def test_a_filter_stands_for_the_instances_that_have_such_values(three, filter, found):
    assert numbers(three.ok("get", f"IP.Interface.[{filter}].Alias")) == list(found)
    assert numbers(three.ok("get", f"Device.IP.Interface.[{filter}].IPv4Address.*.IPAddress")) == list(found)


def test_a_filter_selects_a_subtree_too_and_one_below_another(three):
    printed = three.ok("get", "IP.Interface.[wan].")
    assert "IP.Interface.1.Alias=wan\n" in printed and "IP.Interface.1.IPv4Address.1.IPAddress=192.0.2.1\n" in printed
    assert all(line.startswith("IP.Interface.1.") for line in printed.splitlines())
    assert three.ok("get", "IP.Interface.[Enable==true].IPv4Address.[IPAddress~2.3].Status") == \
        "IP.Interface.3.IPv4Address.1.Status=Disabled\n"


@pytest.mark.parametrize("path, says", [
    ("IP.Interface.[Colour==1].Status", 'has no parameter "Colour"'),
    ("IP.Interface.[Staus==Up].Status", "did you mean Status?"),
    ("IP.Interface.[Status==Foo].Status", '"Foo" is not one of Up,Down'),
    ("IP.Interface.[Status<Up].Status", "is no number"),
    ("IP.Interface.[MaxMTUSize<x].Status", "a number from 0"),
    ("IP.Interface.[Status=Up].Status", "compares nothing"),
    ("IP.Interface.[].Status", "is empty"),
    ("IP.Interface.[nobody].Status", "has the alias [nobody]"),
    ("X_VORAN_DebugLog.[one].Level", "X_VORAN_DebugLog.{i} has no Alias"),
    ("IP.Interface.[wan", "takes an instance number"),
])
def test_a_wrong_filter_is_refused(three, path, says):
    assert says in three.fails(1, "get", path)


def test_a_filter_that_stands_for_none_is_no_failure_of_get(three):
    assert three.ok("get", "IP.Interface.[MaxMTUSize==7].Alias") == ""


def test_set_writes_all_that_the_path_stands_for(three):
    three.ok("set", "IP.Interface.[Enable==true].Name=a", "Device.IP.Interface.*.IPv4Address.1.SubnetMask=255.0.0.0")
    assert three.ok("get", "IP.Interface.*.Name").split() == \
        ["IP.Interface.1.Name=a", "IP.Interface.2.Name=", "IP.Interface.3.Name=a"]
    assert three.ok("get", "IP.Interface.*.IPv4Address.*.SubnetMask").count("=255.0.0.0\n") == 3
    assert "nothing is written" in three.fails(1, "set", "IP.Interface.[MaxMTUSize==7].Name=b")
    assert "nothing is written" in three.fails(1, "set", "PPP.Interface.*.Name=b")


def test_set_refuses_a_parameter_that_is_given_twice(three):
    for again in ("IP.Interface.1.Name=b", "IP.Interface.[wan].Name=b", "Device.IP.Interface.*.Name=a"):
        assert three.fails(1, "set", "IP.Interface.1.Name=a", again).endswith("IP.Interface.1.Name: is given twice\n")
    assert three.ok("get", "IP.Interface.1.Name") == "IP.Interface.1.Name=\n"


def test_set_reads_lines_of_standard_input(three):
    text = 'IP.Interface.1.Name= a=b "c" \n\nDevice.IP.Interface.[lan].Name=x\nIP.Interface.3.Name='
    assert three.run("set", "-", input=text).returncode == 0
    assert three.ok("get", "IP.Interface.*.Name").splitlines() == \
        ['IP.Interface.1.Name= a=b "c" ', "IP.Interface.2.Name=x", "IP.Interface.3.Name="]
    wrong = three.run("set", "-", input="IP.Interface.1.Name=b\nIP.Interface.1.Status=Foo\n")
    assert (wrong.returncode, "is not one of" in wrong.stderr) == (1, True)
    assert three.run("set", "-", input="IP.Interface.1.Name\n").returncode == 2
    assert "IP.Interface.1.Name= a=b" in three.ok("get", "IP.Interface.1.Name")


def test_set_takes_back_what_get_prints(three):
    printed = three.ok("get", "IP.Interface.*.Alias", "IP.Interface.*.MaxMTUSize")
    three.ok("set", "IP.Interface.*.Alias=", "IP.Interface.*.MaxMTUSize=0")
    assert three.run("set", "-", input=printed).returncode == 0
    assert three.ok("get", "IP.Interface.*.Alias", "IP.Interface.*.MaxMTUSize") == printed


def test_add_fills_in_what_it_makes(bus):  # noqa: F811
    assert bus.ok("add", "IP.Interface", "Alias=wan", "Enable=true") == "IP.Interface.1\n"
    assert bus.ok("get", "IP.Interface.1.Alias", "IP.Interface.1.Enable") == \
        "IP.Interface.1.Alias=wan\nIP.Interface.1.Enable=true\n"
    assert bus.ok("add", "Device.IP.Interface.[wan].IPv4Address.", "IPAddress=192.0.2.7") == "IP.Interface.1.IPv4Address.1\n"


@pytest.mark.parametrize("value, says", [
    ("Status=Foo", "is not one of"),
    ("Colour=1", "there is no such path"),
    ("IPv4AddressNumberOfEntries=1", "is counted"),
    ("IPv4Address.1.Status=Enabled", "no such instance"),
])
def test_an_instance_that_does_not_take_its_values_does_not_stay(bus, value, says):  # noqa: F811
    assert says in bus.fails(1, "add", "IP.Interface", "Alias=wan", value)
    assert bus.ok("get", "IP.InterfaceNumberOfEntries") == "IP.InterfaceNumberOfEntries=0\n"


def test_add_takes_a_filter_that_stands_for_one_instance(three):
    assert three.ok("add", "IP.Interface.[MaxMTUSize<1500].IPv4Address") == "IP.Interface.2.IPv4Address.2\n"
    assert "stands for 2 instances" in three.fails(1, "add", "IP.Interface.[Enable==true].IPv4Address")
    assert "has the alias" in three.fails(1, "add", "IP.Interface.[nobody].IPv4Address")
    assert "takes an instance number" in three.fails(1, "add", "IP.Interface.*.IPv4Address")


def test_del_takes_all_that_the_path_stands_for(three):
    three.ok("add", "IP.Interface.1.IPv4Address")
    assert three.ok("del", "IP.Interface.1.IPv4Address.*") == ""
    assert three.ok("get", "IP.Interface.1.IPv4AddressNumberOfEntries").endswith("=0\n")
    three.ok("del", "Device.IP.Interface.[Enable==true].IPv4Address.[IPAddress==192.0.2.3]")
    assert numbers(three.ok("get", "IP.Interface.*.IPv4Address.*.IPAddress")) == ["2"]
    three.ok("del", "IP.Interface.[lan]")
    assert numbers(three.ok("get", "IP.Interface.*.Alias")) == ["1", "3"]
    three.ok("del", "IP.Interface.*")
    three.ok("del", "IP.Interface.*")
    assert three.ok("get", "IP.InterfaceNumberOfEntries").endswith("=0\n")
    assert "has the alias" in three.fails(1, "del", "IP.Interface.[lan]")


def test_list_and_describe_take_filters(three):
    assert three.ok("list", "IP.Interface.[wan].") == three.ok("list", "IP.Interface.1.")
    assert three.ok("describe", "Device.IP.Interface.[Enable==true].Status") == three.ok("describe", "IP.Interface.1.Status")


def watching(bus, *paths):  # noqa: F811
    """A watch that tells already: what it has printed until then is of IP.Interface.2.Name."""
    watch = bus.start(VCFGCTL, "watch", *paths)
    names = iter(1000 * ["x", "y"])
    wait_for(lambda: bus.ok("set", f"IP.Interface.2.Name={next(names)}") == "" and select.select([watch.stdout], [], [], 0)[0])
    return watch


def told(watch, last):
    """The changes without their times and authors, up to that one; those of the watch's begin left out."""
    changes = []
    while last not in changes:
        changes.append(watch.stdout.readline().split(" ", 1)[1].rsplit(" (", 1)[0])
    return [change for change in changes if not change.startswith("IP.Interface.2.Name ")]


def test_watch_shows_what_passes_the_filter_before_or_after(three):
    watch = watching(three, "IP.Interface.[Alias==dsl].Alias", "IP.Interface.[lan].Name", "IP.Interface.[lan].MaxMTUSize")
    for number, alias in (("1", "x"), ("1", "dsl"), ("3", "y"), ("1", "z")):
        three.ok("set", f"IP.Interface.{number}.Alias={alias}")
    three.ok("set", "IP.Interface.1.MaxMTUSize=7", "IP.Interface.2.MaxMTUSize=7")
    end = 'IP.Interface.2.MaxMTUSize "1492" -> "7"'
    assert told(watch, end) == ['IP.Interface.1.Alias "x" -> "dsl"', 'IP.Interface.1.Alias "dsl" -> "z"', end]


def test_watch_follows_instances_that_come_and_go(three):
    watch = watching(three, "IP.Interface.[Alias!=dsl].IPv4Address.[Enable==true].IPAddress", "IP.Interface.2.Name",
                     "IP.Interface.[dsl]")
    path = three.ok("add", "IP.Interface", "Alias=new").strip()
    three.ok("add", f"{path}.IPv4Address", "IPAddress=192.0.2.9")
    three.ok("set", f"{path}.IPv4Address.1.Enable=true")
    three.ok("set", f"{path}.IPv4Address.1.IPAddress=192.0.2.10")
    three.ok("set", f"{path}.Alias=dsl", f"{path}.IPv4Address.1.IPAddress=192.0.2.11")
    three.ok("del", path)
    end = f'{path} "" -> -'
    assert told(watch, end) == [f'{path}.IPv4Address.1.IPAddress "192.0.2.9" -> "192.0.2.10"', end]
