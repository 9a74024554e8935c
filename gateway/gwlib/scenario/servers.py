"""The servers at the provider that a scenario starts: a mail server and a speed-test server, both real."""
import json
import subprocess

from .. import inside, isp
from ..errors import GatewayError
from ..waiting import until

READY_SECONDS = 60
SERVERS = {"mail": (25, "/usr/lib/isp/mailserver.py", ["25", "--behaviour"]), "speed": (8080, "/usr/lib/isp/speedserver.py", None)}


class Servers:
    """They end with the gateway's world."""

    def __init__(self, state):
        self.state, self.processes, self.box = state, {}, state.isp / "mails.jsonl"

    def start(self, name, behaviour):
        """Once more in place of itself, where it runs already."""
        port, program, options = SERVERS[name]
        self.stop(name)
        words = ["/usr/bin/python3", program, *([*options, behaviour] if options else [])]
        with open(self.box if name == "mail" else self.state.isp / "speed.txt", "ab") as output:
            self.processes[name] = subprocess.Popen(inside.entering(self.state, "isp", words), env=inside.environment(), stdout=output,
                                                    stderr=subprocess.DEVNULL, stdin=subprocess.PIPE, start_new_session=True)
        listening = ["ss", "-Hltn", f"src {isp.ROUTER}:{port} or src 0.0.0.0:{port} or src [::]:{port}"]
        if not until(lambda: inside.run(self.state, *listening, room="isp").stdout, READY_SECONDS):
            raise GatewayError(f"the provider's {name} server does not start")

    def stop(self, name):
        process = self.processes.pop(name, None)
        if process:
            process.stdin.close()
            process.kill()
            process.wait()

    def mails(self):
        lines = self.box.read_text(encoding="utf-8").splitlines() if self.box.exists() else []
        return [json.loads(line) for line in lines if line.startswith("{")]

    def close(self):
        for name in list(self.processes):
            self.stop(name)
