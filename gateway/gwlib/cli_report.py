"""The verb that writes a page of what happened."""
import pathlib
import sys
import time

from . import report, times
from .timeline import Timeline
from .values import seconds, taking

STEP = 0.2


def verb_report(state, options):
    """Of what is known since a moment, or of the time to come; both when both are asked for."""
    file = pathlib.Path(options.file)
    report.check(file)
    timeline = Timeline.start(state, _since(state, options))
    _await(state, timeline, options.seconds)
    count = report.write(timeline, file, options.title)
    print(f"{file}: {count} events, {file.stat().st_size // 1024} KiB; a browser shows it")


def _since(state, options):
    """None: from now on."""
    if options.since is None:
        return times.boot(state) if options.seconds is None else None
    return times.point(state, options.since)


def _await(state, timeline, wanted):
    """Until the time is over, the gateway is gone or somebody has seen enough."""
    if wanted is None:
        return
    try:
        while times.now() < timeline.began + wanted * 1e6 and state.world() is not None:
            time.sleep(STEP)
    except KeyboardInterrupt:
        print(file=sys.stderr)


def add_verbs(verb):
    new = verb("report", verb_report, "write a page about what happened, for a browser: states, events, commands, and what brought them about")
    new.add_argument("file", metavar="FILE.html")
    new.add_argument("--since", metavar="TIME", help=f"of what came after: {times.TAKEN} (default: gw up)")
    new.add_argument("--for", dest="seconds", type=taking("--for", seconds), metavar="SECONDS",
                     help="of so many seconds from now on; Ctrl-C ends them early")
    new.add_argument("--title", default=report.TITLE, metavar="TEXT", help="what stands at its top")
