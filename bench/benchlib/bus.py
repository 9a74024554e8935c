"""The bus beside a bare socket and the peers: calls of three sizes, one-way messages, many senders to one endpoint."""
import os

from .programs import BUS, PEERS, REFERENCE, BenchError, Program, Series, interleaved
from .table import Limit, Row

SIZES = {"call 200": "call, 56 + 200 bytes", "call 1024": "call, 56 + 1,024 bytes", "call 65480": "call, 64 KiB in all"}
SMALL = "call 200"
TAILS = [SMALL, "call 1024"]  # sizes whose 99th percentile has a limit, too
ONE_WAY = "one way"
COUNTS = {"call 200": 400, "call 1024": 400, "call 65480": 100, ONE_WAY: 10000, "senders 1": 200, "senders 64": 400}
CALL_LIMIT = Limit(1.2)
UNRECORDED = "bus without the flight recorder"
RECORDED = {"call 200": "call, 56 + 200 bytes", "call 1024": "call, 56 + 1,024 bytes"}
RECORDER_LIMIT = Limit(1.03)
TAIL_LIMIT = Limit(1.6)
RATE_LIMIT = Limit(0.8, least=True)
FAIRNESS_LIMIT = Limit(0.5, least=True)
LOSS_LIMIT = Limit(0, unit="lost")
SENDER_FIGURES = ["rate", "fairness", "lost"]  # what a measure of senders answers, in this order


def start_peers():
    """The peers that are there, and what to say of the others."""
    peers, missing = {}, []
    for name, (title, packages) in PEERS.items():
        try:
            peers[name] = Program(name)
        except BenchError as problem:
            missing.append(f"{title} ({problem}; Debian: {packages})")
    return peers, missing


def measure(rounds):
    """(rows, names of the missing peers)"""
    peers, missing = start_peers()
    programs = {REFERENCE: Program(REFERENCE), BUS: Program(BUS), **peers}
    unrecorded = Program(BUS, {**os.environ, "VCFG_RECORDER": "0"})
    jobs = {(name, measure): (program, measure, COUNTS[measure])
            for name, program in programs.items() for measure in program.measures}
    jobs |= {(UNRECORDED, measure): (unrecorded, measure, COUNTS[measure]) for measure in RECORDED}
    series = interleaved(rounds, jobs)
    for program in [*programs.values(), unrecorded]:
        program.close()
    rows = [row for measure, title in SIZES.items() for row in _call_rows(series, peers, measure, title)]
    return rows + _recorder_rows(series) + _one_way_rows(series, peers) + _sender_rows(series), missing


def _peer_rows(series, peers, measure, title, unit):
    reference = series[REFERENCE, measure]
    return [Row(f"{PEERS[name][0]}: {title}", unit, one.median, one.p99 if unit == "us" else None, one.spread,
                one.over(reference)) for name in peers if (one := series.get((name, measure)))]


def _to_peers(series, peers, measure):
    return {name: series[BUS, measure].over(series[name, measure]) for name in peers if (name, measure) in series}


def _call_rows(series, peers, measure, title):
    reference, ours = series[REFERENCE, measure], series[BUS, measure]
    rows = [Row(f"bare socket: {title}", "us", reference.median, reference.p99, reference.spread, 1.0),
            Row(f"bus: {title}", "us", ours.median, ours.p99, ours.spread, ours.over(reference), CALL_LIMIT,
                peers=_to_peers(series, peers, measure))]
    if measure in TAILS:
        rows.append(Row(f"bus: {title}, 99th percentile", "us", p99=ours.p99, ratio=ours.tail_over(reference),
                        limit=TAIL_LIMIT))
    return rows + _peer_rows(series, peers, measure, title, "us")


def _recorder_rows(series):
    rows = []
    for measure, title in RECORDED.items():
        ratio = series[BUS, measure].over(series[UNRECORDED, measure])
        rows.append(Row(f"bus: {title}, recorded over unrecorded", "", ratio, value=ratio, limit=RECORDER_LIMIT))
    return rows


def _one_way_rows(series, peers):
    reference, ours = series[REFERENCE, ONE_WAY], series[BUS, ONE_WAY]
    return [Row("bare socket: one way, 56 + 200 bytes", "/s", reference.median, spread=reference.spread, ratio=1.0),
            Row("bus: one way, 56 + 200 bytes", "/s", ours.median, spread=ours.spread, ratio=ours.over(reference),
                limit=RATE_LIMIT, peers=_to_peers(series, peers, ONE_WAY)),
            *_peer_rows(series, peers, ONE_WAY, "one way, 56 + 200 bytes", "/s")]


def _sender_rows(series):
    one, many = _part(series[BUS, "senders 1"], "rate"), _part(series[BUS, "senders 64"], "rate")
    fair = _part(series[BUS, "senders 64"], "fairness").median
    lost = sum(figures[SENDER_FIGURES.index("lost")] for figures in series[BUS, "senders 64"].rounds)
    ratio = many.over(one)
    return [Row("bus: 1 sender", "/s", one.median, spread=one.spread),
            Row("bus: 64 senders together", "/s", many.median, spread=many.spread),
            Row("bus: 64 senders, their sum over one sender's", "", ratio, value=ratio, limit=RATE_LIMIT),
            Row("bus: 64 senders, the slowest over the fastest", "", fair, value=fair, limit=FAIRNESS_LIMIT),
            Row("bus: 64 senders, messages lost", "", lost, value=lost, limit=LOSS_LIMIT)]


def _part(series, name):
    part = Series()
    part.rounds = [[figures[SENDER_FIGURES.index(name)]] for figures in series.rounds]
    return part
