"""The scripts of the OpenWrt feed. procd and rc.common are a stand-in (`openwrt/rc.common`), which writes down what it is asked and
starts nothing; vcfgctl and ip are programs that write down how they are called."""
import pathlib
import re
import subprocess

import pytest

HERE = pathlib.Path(__file__).resolve().parent
FEED = HERE.parents[1] / "packaging" / "openwrt"
SERVICE = FEED / "tarn/files/etc/init.d/tarn"
HOTPLUG = FEED / "tarn/files/etc/hotplug.d/net/50-tarn"
BRIDGE = """case $* in
*Bridge.*.Enable*) echo Bridging.Bridge.1.Enable=true ;;
*X_VORAN_IfName*) echo Bridging.Bridge.1.Port.1.X_VORAN_IfName=br-lan; echo Bridging.Bridge.1.Port.2.X_VORAN_IfName=lan.7 ;;
esac"""


@pytest.mark.parametrize("script", [SERVICE, HOTPLUG], ids=lambda path: path.name)
def test_scripts_are_clean(script):
    done = subprocess.run(["shellcheck", "-s", "sh", script], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout


@pytest.fixture(name="started")
def what_procd_is_told(tmp_path):
    def start(with_router=True):
        router, told = tmp_path / "router.json", tmp_path / "told"
        told.touch()
        if with_router:
            router.touch()
        script = tmp_path / "tarn"
        text = SERVICE.read_text().replace("/etc/tarn/router.json", str(router)).replace("/etc/tarn/data", str(tmp_path / "data"))
        script.write_text(text.replace("/run/", f"{tmp_path}/run/"))
        subprocess.run(["sh", HERE / "openwrt" / "rc.common", script, "start"], env={"PATH": "/usr/bin:/bin", "PROCD_TOLD": told},
                       check=True, timeout=20)
        return told.read_text()
    return start


def instances(told):
    return {block.split("\n", 1)[0]: block for block in told.split("open ")[1:]}


def test_each_daemon_is_started_again_when_it_ends(started, tmp_path):
    told = instances(started())
    assert list(told) == ["vcmd", "tarn", "begin"]
    for name in ("vcmd", "tarn"):
        assert "set respawn 120 1 10\n" in told[name] and told[name].rstrip().endswith("close")
    assert "respawn" not in told["begin"]
    assert f"set command /usr/sbin/vcmd --foreground --defaults {tmp_path}/router.json\n" in told["vcmd"]
    assert "set command /usr/bin/tarn --foreground\n" in told["tarn"]
    assert (tmp_path / "run/vcfg").stat().st_mode & 0o777 == 0o700


def test_without_a_configuration_nothing_is_started(started):
    assert started(with_router=False) == ""


def plug(tmp_path, **environment):
    told = tmp_path / "told"
    told.touch()
    for name, answer in (("vcfgctl", BRIDGE), ("ip", "")):
        program = tmp_path / "bin" / name
        program.parent.mkdir(exist_ok=True)
        program.write_text(f"#!/bin/sh\necho {name} \"$@\" >>{told}\n{answer}\n")
        program.chmod(0o755)
    subprocess.run(["sh", HOTPLUG], env={"PATH": f"{tmp_path}/bin:/usr/bin:/bin", **environment}, check=True, timeout=20)
    return told.read_text()


def test_port_of_the_bridge_that_comes_late_joins_it(tmp_path):
    told = plug(tmp_path, ACTION="add", INTERFACE="lan.7")
    assert "ip link set dev lan.7 up\n" in told and "vcfgctl set --wait Bridging.Bridge.1.Enable=true\n" in told


@pytest.mark.parametrize("environment", [{"ACTION": "remove", "INTERFACE": "lan.7"}, {"ACTION": "add", "INTERFACE": "lanx7"},
                                         {"ACTION": "add", "INTERFACE": "$(reboot)"}, {"ACTION": "add"}, {}],
                         ids=lambda environment: " ".join(environment.values()) or "nothing")
def test_other_devices_are_left_alone(tmp_path, environment):
    told = plug(tmp_path, **environment)
    assert "ip " not in told and " set " not in told


def test_makefiles_install_what_the_build_installs():
    text = (FEED / "tarn/Makefile").read_text()
    for name in re.findall(r"\./(files/\S+)", text):
        assert (FEED / "tarn" / name).is_file()
