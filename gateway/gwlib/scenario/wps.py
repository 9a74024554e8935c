"""A protected setup by push button: somebody at the web server, and a wireless daemon that answers each poll as told."""
import json

from .. import inside, wireless
from ..errors import GatewayError
from ..waiting import until

START, STATUS, WEB_SERVER = "0x80000FBC", 4012, 15
HEARD, SOCKET = "/tmp/heard", f"/run/vcfg/eid-{WEB_SERVER}"
WORDS = {1: "running", 2: "joined", 3: "failed"}
NUMBERS = {word: number for number, word in WORDS.items()}
READY_SECONDS = 60


class Setup:
    def __init__(self, state):
        self.state = state

    def push(self, access_point, polls):
        wireless.start(self.state)
        wireless.answer(self.state, STATUS, [f'0:{json.dumps({"WPSStatus": NUMBERS[poll]})}' for poll in polls])
        self._listen()
        asked = {"WPSRunning": True, "WPSIndex": access_point, "StartApp": WEB_SERVER, "WPSActivationMethod": "PushButton"}
        inside.must(self.state, "vcfgctl", "send", "--to", "2", "--from", WEB_SERVER, "--type", START, "--payload", json.dumps(asked))

    def _listen(self):
        """The web server, which hears how it goes."""
        inside.spawn(self.state, "web-server", "sh", "-c", f"exec vcfgctl serve {WEB_SERVER} --take-over --json > {HEARD}")
        if not until(lambda: inside.run(self.state, "test", "-S", SOCKET).returncode == 0, READY_SECONDS):
            raise GatewayError("the web server does not come to the bus")

    def heard(self):
        """How the setup goes, as the web server has been told."""
        lines = inside.run(self.state, "cat", HEARD).stdout.splitlines()
        outcomes = [json.loads(json.loads(line)["payload"])["WPSStatus"] for line in lines]
        return [WORDS.get(outcome, str(outcome)) for outcome in outcomes]

    def asked(self):
        """Types of the requests that the wireless daemon has taken."""
        return [message["type"] for message in wireless.received(self.state)]
