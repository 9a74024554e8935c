"""One table of all that was measured, for the terminal and for the documentation."""
import dataclasses
import math

from .programs import PEERS

HEAD = ["what", "median", "p99", "spread", "x reference", "limit", "of the limit", "met",
        *(name for name, _ in PEERS.values()), "reads", "writes", "messages", "processes"]


MANY_US = 10_000


@dataclasses.dataclass(frozen=True)
class Limit:
    bound: float
    least: bool = False  # a rate must reach it, a time must not pass it
    unit: str = "x"

    def share(self, value):
        """At most 1 when the limit is met."""
        part, whole = (self.bound, value) if self.least else (value, self.bound)
        return part / whole if whole else math.inf if part else 0

    def __str__(self):
        return f"{'>=' if self.least else '<='} {self.bound:g}{' ' if self.unit != 'x' else ''}{self.unit}"


@dataclasses.dataclass
class Row:
    what: str
    unit: str
    median: float | list | None = None  # a list: of several sizes
    p99: float | None = None
    spread: float | None = None
    ratio: float | None = None  # to the reference
    limit: Limit | None = None
    value: float | None = None  # what the limit is about, if it is not the ratio
    peers: dict = dataclasses.field(default_factory=dict)  # ratio to each of them
    costs: tuple = ()  # reads, writes, messages, processes

    @property
    def checked(self):
        return self.ratio if self.value is None else self.value

    @property
    def met(self):
        return self.limit is None or self.limit.share(self.checked) <= 1

    def cells(self):
        judged = ["", "", ""]
        if self.limit:
            judged = [str(self.limit), f"{self.limit.share(self.checked):.3f}", "yes" if self.met else "**NO**"]
        return [self.what, figure(self.median, self.unit), figure(self.p99, self.unit),
                "" if self.spread is None else f"{self.spread:.0%}", times(self.ratio), *judged,
                *(times(self.peers.get(peer)) for peer in PEERS), *(f"{cost:g}" for cost in self.costs)]


def figure(value, unit):
    """Three digits at least; many microseconds are milliseconds. A list has one unit."""
    if value is None:
        return ""
    values = value if isinstance(value, list) else [value]
    if unit == "us" and max(values) >= MANY_US:
        values, unit = [each / 1000 for each in values], "ms"
    return f"{' / '.join(map(digits, values))} {unit}".rstrip()


def digits(value):
    return f"{value:,.{0 if value >= 1000 else 1 if value >= 10 else 2}f}"


def times(ratio):
    return "" if ratio is None else f"{ratio:.2f}"


def render(rows):
    """Markdown that also reads well on a terminal. Columns in which nothing stands are left out."""
    table = [HEAD] + [(row.cells() + [""] * len(HEAD))[:len(HEAD)] for row in rows]
    columns = [column for column in zip(*table) if any(column[1:])]
    lines = []
    for number, cells in enumerate(zip(*columns)):
        widths = [max(map(len, column)) for column in columns]
        padded = [cell.ljust(width) if place == 0 else cell.rjust(width)
                  for place, (cell, width) in enumerate(zip(cells, widths))]
        lines.append(f"| {' | '.join(padded)} |")
        if number == 0:
            lines.append("|" + "|".join("-" * (width + 2) if place == 0 else "-" * (width + 1) + ":"
                                        for place, width in enumerate(widths)) + "|")
    return "\n".join(lines)
