"""The measuring programs, and what came out of them."""
import json
import os
import pathlib
import statistics
import subprocess

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("TARN_BUILD_DIR", REPOSITORY / "build" / "release")).resolve()
BIN = BUILD / "bin"
REFERENCE = "socket"
BUS = "bus"
# What the bus is compared with: the program's name, the column's, and the Debian packages it takes.
PEERS = {"sdbus": ("sd-bus", "libsystemd-dev"), "dbus": ("dbus-daemon", "libsystemd-dev dbus"),
         "zeromq": ("ZeroMQ", "libzmq3-dev"), "nng": ("nng", "libnng-dev"),
         "mosquitto": ("mosquitto", "mosquitto libmosquitto-dev")}


class BenchError(Exception):
    """Something that has to be there is not."""


class Program:
    """One measuring program: it waits, using no time, until it is asked for a measure."""

    def __init__(self, name, environment=None):
        self.name = name
        try:
            self.process = subprocess.Popen([BIN / f"bench_{name}"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                            stderr=subprocess.PIPE, text=True, env=environment)
        except FileNotFoundError:
            raise BenchError(f"bench_{name} is not built") from None
        self.measures = self._answer()

    def measure(self, name, count):
        print(count, name, file=self.process.stdin, flush=True)
        return self._answer()

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()

    def _answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise BenchError(self.process.stderr.read().strip() or f"bench_{self.name} ended")
        return json.loads(line)


class Series:
    """Figures of one measure: a list per round. Rounds are compared with the same round of something else, because what
    disturbs one of them disturbs its neighbours."""

    def __init__(self):
        self.rounds = []

    def add(self, figures):
        self.rounds.append(figures)

    def medians(self):
        return [sorted(figures)[len(figures) // 2] for figures in self.rounds]

    def tails(self):
        return [sorted(figures)[int(len(figures) * 0.99)] for figures in self.rounds]

    @property
    def median(self):
        return statistics.median(self.medians())

    @property
    def p99(self):
        return statistics.median(self.tails())

    @property
    def spread(self):
        """Between the slowest round and the fastest one, as a part of the median."""
        return (max(self.medians()) - min(self.medians())) / self.median

    def over(self, other):
        return statistics.median(mine / its for mine, its in zip(self.medians(), other.medians()))

    def tail_over(self, other):
        return statistics.median(mine / its for mine, its in zip(self.tails(), other.tails()))


def interleaved(rounds, jobs):
    """Runs every job once a round: {key: (program, measure, count)}. {key: Series}."""
    series = {key: Series() for key in jobs}
    for _ in range(rounds):
        for key, (program, measure, count) in jobs.items():
            series[key].add(program.measure(measure, count))
    return series
