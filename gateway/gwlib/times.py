"""Points in time: what people write and read for the microseconds of the monotonic clock that all lines carry."""
import datetime
import json
import re
import time

from .errors import GatewayError

AGO = re.compile(r"(\d+(?:\.\d+)?)(ms|s|m|h)")
UNITS = {"ms": 1e3, "s": 1e6, "m": 60e6, "h": 3600e6}
WALL = re.compile(r"\d{1,2}:\d{2}(?::\d{2}(?:\.\d{1,6})?)?")
TAKEN = "a MARK (gw mark), +SECONDS since gw up, 90s, 5m or 2h ago, or a time of day as 14:03:05"
SHOWN = ("up", "clock", "mono")


def now():
    return time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000


def wall(mono_us):
    """The time of day that the moment had."""
    return datetime.datetime.fromtimestamp(time.time() - (now() - mono_us) / 1e6)


def remember_boot(state):
    state.since.write_text(json.dumps(now()))


def boot(state):
    """When the gateway was booted last; 0 when nobody knows."""
    try:
        return int(json.loads(state.since.read_text()))
    except (OSError, ValueError):
        return 0


def point(state, text):
    """The moment that a --since names; None for none."""
    if text is None:
        return None
    ago = AGO.fullmatch(text)
    if ago:
        return int(now() - float(ago[1]) * UNITS[ago[2]])
    if re.fullmatch(r"\+\d+(\.\d+)?", text):
        return int(boot(state) + float(text) * 1e6)
    if WALL.fullmatch(text):
        return _of_today(text)
    if re.fullmatch(r"\d+", text):
        return int(text)
    raise GatewayError(f"--since {text!r} is no point in time: it takes {TAKEN}")


def _of_today(text):
    hours, minutes, seconds = (*text.split(":"), "0")[:3]
    try:
        asked = datetime.datetime.now().replace(hour=int(hours), minute=int(minutes), second=0, microsecond=0)
    except ValueError as problem:
        raise GatewayError(f"--since {text!r}: {problem}") from None
    moment = asked + datetime.timedelta(seconds=float(seconds))
    return int(now() - (datetime.datetime.now() - moment).total_seconds() * 1e6)


def shown(mono_us, style, booted):
    """The moment for people: seconds since the boot, a time of day, or the clock as it is."""
    if style == "clock":
        return wall(mono_us).strftime("%H:%M:%S.%f")
    return f"{(mono_us - (booted if style == 'up' else 0)) / 1e6:12.6f}"
