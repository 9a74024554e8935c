"""Scenario files: Python files of steps, played on a gateway of their own, one after the other."""
import importlib.machinery
import pathlib
import shutil
import textwrap
import types

from . import boot
from .errors import GatewayError
from .road import Road
from .state import REPOSITORY, State
from .terminal import paint

OWN = REPOSITORY / "build" / "run"  # where scenarios are played when no other place is named


def loaded(file):
    """The scenario of a file: its first line says what it is, STEPS are its functions."""
    path = pathlib.Path(file)
    if not path.is_file():
        raise GatewayError(f"there is no scenario {file}")
    if path.suffix != ".py":
        raise GatewayError(f"{file} is no scenario: a file that ends in .py is")
    scenario = types.ModuleType(f"scenario_{path.stem}")
    scenario.__file__ = str(path)
    try:
        importlib.machinery.SourceFileLoader(scenario.__name__, scenario.__file__).exec_module(scenario)
    except Exception as problem:  # whatever somebody's file does wrong is theirs to read
        raise GatewayError(f"{file} is no scenario: {type(problem).__name__}: {problem}") from None
    if not getattr(scenario, "STEPS", None) or not scenario.__doc__:
        raise GatewayError(f"{file} is no scenario: it needs a text at its top and STEPS = [...]; docs/scenarios.md has an example")
    return scenario


def played(scenario, name, state, verbose):
    """The road, travelled."""
    about = " ".join(scenario.__doc__.split("\n\n")[0].split())
    print(paint(textwrap.fill(about, shutil.get_terminal_size().columns), "bold"))
    road = Road(name, state, verbose, getattr(scenario, "shows", None))
    try:
        for step in scenario.STEPS:
            step(road)
    except GatewayError as problem:
        road.end(problem)
    except Exception as problem:  # in somebody's step: the others are played all the same
        road.end(f"{type(problem).__name__}: {problem}")
    finally:
        road.close()
    _tell(road)
    return road


def _tell(road):
    if road.failures:
        print(paint(f"\n{road.name}: {len(road.failures)} of {road.checks} checks failed, in {road.seconds:.1f} s", "alarm"))
    else:
        print(paint(f"\n{road.name}: all {road.checks} checks as expected, in {road.seconds:.1f} s", "green"))


def verb_play(state, options):
    scenarios = [(pathlib.Path(file).stem, loaded(file)) for file in options.file]
    if hasattr(options, "state"):
        boot.refuse_running(state)
    else:
        state = State(OWN)
        boot.down(state)  # the one that --stay left
    roads = []
    try:
        for name, scenario in scenarios:
            boot.down(state)
            roads += [played(scenario, name, state, options.verbose)]
            print()
    finally:
        if not (options.stay and state.world() is not None):
            boot.down(state)
    return _verdict(roads, state, options)


def _verdict(roads, state, options):
    checks, seconds = sum(road.checks for road in roads), sum(road.seconds for road in roads)
    failed = [road for road in roads if road.failures]
    what = "the road is" if len(roads) == 1 else f"all {len(roads)} roads are"
    if failed:
        count = sum(len(road.failures) for road in failed)
        print(paint(f"== {count} of {checks} checks failed, on {len(failed)} of {len(roads)} roads, in {seconds:.1f} s", "alarm"))
        for road in failed:
            for failure in road.failures:
                print(paint(f"   {road.name}: {failure}", "red"))
    else:
        print(paint(f"== {what} as expected: {checks} checks in {seconds:.1f} s", "green"))
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
    new.add_argument("--stay", action="store_true", help="leave the last gateway up, and say how to talk to it")
