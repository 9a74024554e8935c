"""What the line simulator reports is what the real data model takes."""
import json

import pytest
from platform_support import BUILD, environment, eventually, namespace  # noqa: F401 (fixture)

VCMD, VCFGCTL = BUILD / "bin" / "vcmd", BUILD / "bin" / "vcfgctl"
pytestmark = pytest.mark.skipif(not (VCMD.exists() and VCFGCTL.exists()), reason="vcmd and vcfgctl are not built")


class Model:
    """A running data model with one instance of each kind of line."""

    def __init__(self, namespace):
        self.namespace, self.hw = namespace, namespace.hardware
        for folder in ("run", "data", "hooks"):
            (self.hw / folder).mkdir(mode=0o700)
        self.settings = {"VCFG_RUN_DIR": self.hw / "run", "PATH": f"{BUILD}/bin:{environment(self.hw)['PATH']}",
                         "GW_DSL_TRAIN_MS": 10}
        namespace.start("sh", "-c", f"echo ready; exec {VCMD} --foreground --data-dir {self.hw}/data "
                        f"--hook-dir {self.hw}/hooks", **self.settings)
        assert eventually(lambda: self.run(VCFGCTL, "get", "DeviceInfo.").returncode != 3)
        for table in ("DSL.Line", "DSL.Channel", "USB.Interface"):
            assert self.run(VCFGCTL, "add", table + ".").returncode == 0
        self.simulator = namespace.start("gw-linesim", "serve", "--no-devices", "--pid-file", self.hw / "nobody",
                                         **self.settings)

    def run(self, *command):
        return self.namespace.run(*command, **self.settings)

    def get(self, path):
        return self.run(VCFGCTL, "get", path).stdout.strip().partition("=")[2]


@pytest.fixture
def model(namespace):
    return Model(namespace)


@pytest.mark.parametrize("mode", ["atm", "ptm"])
def test_dsl_line_in_the_data_model_follows_the_simulated_one(model, mode):
    assert model.run("gw-linesim", "dsl", "up", "--mode", mode).returncode == 0
    assert eventually(lambda: model.get("DSL.Line.1.LinkStatus") == "Up")
    assert model.get("DSL.Line.1.X_VORAN_LinkTypeIsATM") == ("true" if mode == "atm" else "false")
    assert model.get("DSL.Channel.1.LinkEncapsulationUsed") == f"G.992.3_Annex_K_{mode.upper()}"
    assert int(model.get("DSL.Channel.1.UpstreamCurrRate")) > 0
    assert model.run("wan", "adsl", "close").returncode == 0
    assert model.get("DSL.Line.1.LinkStatus") == "Disabled"
    assert model.get("DSL.Channel.1.UpstreamCurrRate") == "0"


class Listener:
    """Stands where the daemon would be on the bus."""

    def __init__(self, model):
        self.file = model.hw / "heard"
        self.file.touch()
        model.namespace.start("sh", "-c", f"echo ready; exec vcfgctl serve 2 --json >{self.file}", **model.settings)
        # The data model greets the daemon as soon as that is there.
        assert eventually(lambda: 0x800000EB in self.types())

    def messages(self):
        return [json.loads(line) for line in self.file.read_text().splitlines(keepends=True) if line.endswith("\n")]

    def types(self):
        return [message["type"] for message in self.messages()]


@pytest.mark.parametrize(("action", "status", "backup"),
                         [("up", "Up", "Up"), ("down", "Down", "Down"), ("absent", "NotPresent", "No Device")])
def test_usb_state_reaches_the_data_model_and_the_daemon(model, action, status, backup):
    listener = Listener(model)
    assert model.run("gw-linesim", "usb", action).returncode == 0
    assert model.get("USB.Interface.1.Status") == status
    assert model.get("X_VORAN_WWANBackup.Status") == backup
    assert eventually(lambda: 0x800003EF in listener.types())


def test_optical_report_reaches_the_daemon(model):
    listener = Listener(model)
    assert model.run("gw-linesim", "optical", "up").returncode == 0
    assert eventually(lambda: 0x80000122 in listener.types())
    assert json.loads(listener.messages()[-1]["payload"]) == {"serviceStatus": True}
