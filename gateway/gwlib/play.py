"""The verb that plays scenario files, each on a gateway of its own, one after the other."""
import os
import shutil
import textwrap

from . import boot, report
from .scenario import file
from .scenario.console import Console
from .scenario.live import Live
from .scenario.player import Player
from .state import REPOSITORY, State
from .terminal import is_live, paint
from .timeline import Timeline

OWN = REPOSITORY / "build" / "run"  # where scenarios are played when no other place is named


def verb_play(state, options):
    scenarios = [file.read(name) for name in options.file]
    if hasattr(options, "state"):
        boot.refuse_running(state)
    else:
        state = State(OWN)
        boot.down(state)  # the one that --stay left
    played, timeline = [], _timeline(state, options)
    try:
        for scenario in scenarios:
            boot.down(state)
            played += _played(scenario, state, options.verbose, timeline.mark if timeline else lambda text, ok=None: None)
            print()
        if timeline:
            report.write(timeline, options.report, " ".join(scenario.name for scenario in scenarios))
    finally:
        if not (options.stay and state.world() is not None):
            boot.down(state)
    return _verdict(played, len(scenarios) - len(played), state, options)


def _timeline(state, options):
    """Of all that happens from now on, where a report is asked for."""
    if options.report is None:
        return None
    report.check(options.report)
    return Timeline.start(state)


def _played(scenario, state, verbose, mark):
    """A list of its player, or of nothing when the machine lacks what it needs."""
    print(paint(textwrap.fill(scenario.about, shutil.get_terminal_size().columns), "bold"))
    if scenario.lacks:
        print(paint(f"\n{scenario.name}: skipped: {'; '.join(scenario.lacks)}", "yellow"))
        return []
    console = Live if is_live() and os.environ.get("TERM") != "dumb" else Console
    player = Player(scenario, state, console(verbose), mark)
    player.play()
    _tell(scenario.name, player)
    return [player]


def _tell(name, player):
    if player.failures:
        print(paint(f"\n{name}: {len(player.failures)} of {player.checks} checks failed, in {player.seconds:.1f} s", "alarm"))
    else:
        print(paint(f"\n{name}: all {player.checks} checks as expected, in {player.seconds:.1f} s", "green"))


def _verdict(played, skipped, state, options):
    checks, seconds = sum(player.checks for player in played), sum(player.seconds for player in played)
    failed = [player for player in played if player.failures]
    left = f", {skipped} skipped" if skipped else ""
    if failed:
        count = sum(len(player.failures) for player in failed)
        print(paint(f"== {count} of {checks} checks failed, on {len(failed)} of {len(played)} roads, in {seconds:.1f} s{left}", "alarm"))
        for player in failed:
            for failure in player.failures:
                print(paint(f"   {player.scenario.name}: {failure}", "red"))
    else:
        what = "the road is" if len(played) == 1 else f"all {len(played)} roads are"
        print(paint(f"== {what} as expected: {checks} checks in {seconds:.1f} s{left}", "green"))
    _advise(state, options, bool(failed))
    return 1 if failed else 0


def _advise(state, options, failed):
    if options.stay and state.world() is not None:
        gw = f"gateway/gw --state {state.directory}"
        print(f"\nThe gateway stays up. Talk to it:\n  {gw} status\n  {gw} exec -- vcfgctl get DHCPv4.Client.1.\n"
              f"  {gw} log -f\n  {gw} journal\nStop it:\n  {gw} down")
    elif failed and not options.verbose:
        print("\nWith --verbose everything that happens is shown as it comes.")


def add_verbs(verb):
    new = verb("play", verb_play, "play scenario files with a live view, each on a gateway of its own (docs/scenarios.md)")
    new.add_argument("file", nargs="+", metavar="SCENARIO")
    new.add_argument("-v", "--verbose", action="store_true",
                     help="show what lies between the checks, too: what arrives (in), what the daemon says (tarn) and runs, "
                          "how the model changes")
    new.add_argument("--report", metavar="FILE.html", help="write a page about all that happened, for a browser")
    new.add_argument("--stay", action="store_true", help="leave the last gateway up, and say how to talk to it")
