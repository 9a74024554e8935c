"""The management agent for a test: endpoint 9, listening, and what it has been told."""
import json

from links import inside
from room_process import RoomProcess
from support import eventually

AGENT = 9


class Agent(RoomProcess):
    """Runs inside the gateway while the test lasts."""

    def __init__(self, gateway):
        self.state = gateway.state
        super().__init__(self.state, "gateway", ["vcfgctl", "serve", str(AGENT), "--take-over", "--json"])

    def __enter__(self):
        eventually(lambda: inside.run(self.state, "test", "-S", f"/run/vcfg/eid-{AGENT}").returncode == 0)
        return self

    def heard(self):
        return [json.loads(line) for line in list(self.lines)]
