"""Protected setup in the words of the tests: who asks, what the wireless daemon answers, what the web server hears."""
import json
import subprocess
import time

from links import Links
from support import eventually

from gwlib import inside, wireless

POLL, START, STOP, OUTCOME = 0x80000FBB, 0x80000FBC, 0x80000FBD, 0x80000FBF
PUSH_BUTTON_BOTH, PUSH_BUTTON, PIN, STATUS, STOP_REQUEST = 4005, 4006, 4007, 4012, 4015
TR069, WEB_SERVER, BOTH_BANDS = 9, 15, 35
INTERNAL_SOCKET = "/tmp/tarn_internal"
BUTTON = {"WPSActivationMethod": "PushButton"}


def status(number):
    return f'0:{{"WPSStatus":{number}}}'


class WebServer:
    """Endpoint 15, listening."""

    def __init__(self, state):
        words = inside.entering(state, "gateway", ["vcfgctl", "serve", str(WEB_SERVER), "--take-over", "--json"])
        self.process = subprocess.Popen(words, env=inside.environment(), stdout=subprocess.PIPE, text=True)
        eventually(lambda: inside.run(state, "test", "-S", "/run/vcfg/eid-15").returncode == 0)

    def hears(self):
        """The next outcome."""
        return json.loads(self.process.stdout.readline())

    def end(self):
        self.process.kill()
        self.process.wait()


class Setup(Links):
    """A gateway whose access points can be set up."""

    def wireless(self, **answers):
        """A wireless daemon that knows these answers, by the request's name: STATUS="..." or a list of them."""
        wireless.start(self.state)
        for name, words in answers.items():
            self.answers(globals()[name], *([words] if isinstance(words, str) else words))

    def answers(self, message_type, *words):
        wireless.answer(self.state, message_type, words)

    def received(self):
        """The wireless daemon's requests with all their bytes."""
        return wireless.received(self.state)

    def asked(self):
        """(type, payload) of what the wireless daemon was asked."""
        return [(message["type"], message["payload"]) for message in self.received()]

    def ask(self, message, sender, **keys):
        """One application's request, handled."""
        request = {"WPSRunning": message == START, "WPSIndex": 1, "StartApp": sender, **keys}
        self.inside("vcfgctl", "send", "--to", "2", "--from", str(sender), "--type", hex(message), "--payload", json.dumps(request))
        self.settle()

    def poll(self, times=1):
        """As the timer does it: the clock of a session is its polls."""
        for _ in range(times):
            self.inside("vcfgctl", "send", "--to", "2", "--type", hex(POLL))
        self.settle()

    def running_status(self, access_point=1):
        return self.value(f"WiFi.AccessPoint.{access_point}.WPS.X_VORAN_WPSRunningStatus")

    def ends(self):
        """Whatever session there is, runs out of time."""
        self.wireless(STATUS=status(1))
        self.poll(12)

    def timer(self, *requests):
        """Requests to the timer thread through its socket, as any thread of the daemon sends them."""
        for request in requests:
            self.timer_bytes(framed(json.dumps(request)))

    def timer_bytes(self, data, linger=0):
        """Bytes from a client that goes away `linger` seconds later."""
        program = ("import socket,sys,time\ns=socket.socket(socket.AF_UNIX)\n"
                   f"s.connect('{INTERNAL_SOCKET}')\ns.sendall(bytes.fromhex(sys.argv[1]))\ntime.sleep({linger})")
        self.inside("/usr/bin/python3", "-c", program, data.hex())


def framed(text):
    data = text.encode() + b"\0"
    return bytes(10) + len(data).to_bytes(2, "little") + bytes(44) + data


def seconds_between(first, second):
    return (second["t_mono_us"] - first["t_mono_us"]) / 1e6


def pause(seconds):
    """Real time, where nothing is to happen in it."""
    time.sleep(seconds)
