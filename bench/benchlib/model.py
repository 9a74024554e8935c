"""The data model: reading, walking, writing, adding and deleting, beside calls over a bare socket."""
from .bus import SMALL
from .programs import REFERENCE, Program, interleaved
from .table import Limit, Row
from .world import World

TABLE = 200
COUNTS = {"get": 1000, "walk": 10, "set": 100, "set with apply": 100, "write JSON": 100, "add": 20, "delete": 20}
TITLES = {"get": "get of a 1 KiB record", "walk": f"walk over {TABLE} records of 1 KiB", "set": "set without apply",
          "set with apply": "set with apply", "write JSON": "write of one parameter", "add": "add", "delete": "delete"}
LIMITS = {"get": Limit(0.1), "walk": Limit(5), "set": Limit(2.2)}


def measure(rounds):
    reference = Program(REFERENCE)
    with World({}) as world:
        model = Program("model", world.environment)
        jobs = {measure: (model, f"{measure} {TABLE}", count) for measure, count in COUNTS.items()}
        series = interleaved(rounds, {REFERENCE: (reference, SMALL, 400), **jobs})
        model.close()
    reference.close()
    return [_row(series, measure) for measure in TITLES]


def _row(series, measure):
    one = series[measure]
    return Row(f"model: {TITLES[measure]}", "us", one.median, one.p99, one.spread, one.over(series[REFERENCE]),
               LIMITS.get(measure))
