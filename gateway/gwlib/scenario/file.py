"""Reading a scenario file. All of it is checked before anything starts."""
import os
import pathlib
import shutil
import tomllib
from typing import NamedTuple

from .. import needs
from ..errors import USAGE, GatewayError
from ..terminal import harmless
from . import (acts_hardware, acts_lan, acts_people, acts_provider, kinds, references, sights_daemon, sights_kernel,
               sights_model, types)

# Each puts its kinds into the tables when it is imported.
KINDS = (acts_hardware, acts_people, acts_provider, acts_lan, sights_model, sights_kernel, sights_daemon)
FOLDER = pathlib.Path(__file__).resolve().parents[2]
CONFIGURATIONS = {"default": "defaults.json", **{file.stem.removeprefix("defaults-"): file.name for file in sorted(FOLDER.glob("defaults-*.json"))}}
WITHIN = 20.0  # seconds for what must be seen, unless the file says otherwise


class BadScenario(GatewayError):
    """A file that is no scenario: nothing has been started."""

    code = USAGE


class Step(NamedTuple):
    title: str
    do: list
    see: list
    repeat: int = 1


class Scenario(NamedTuple):
    name: str
    about: str
    config: pathlib.Path | None
    unplugged: list
    ready: list
    steps: list
    lacks: list


def _ppp():
    if os.access(needs.PPP_DRIVER, os.F_OK):
        return None
    return f"this machine has no PPP driver ({needs.PPP_DRIVER}; `modprobe ppp_generic` loads it)"


def _tap():
    if os.access("/dev/net/tun", os.F_OK):
        return None
    return "this machine has no TAP devices (/dev/net/tun): the lines carry no data"


def _program(name):
    return lambda: None if shutil.which(name, path=needs.PLACES) else f"{name} is not installed; script/bootstrap run installs it"


NEEDS = {"ppp": _ppp, "tap": _tap, "pppoe-server": _program("pppoe-server")}


SEE = types.each(kinds.entry(kinds.SIGHTS, WITHIN))
DO = types.each(kinds.entry(kinds.ACTS))
STEP = types.fields({"title": types.text, "do": DO, "see": SEE, "repeat": types.whole(1, 10000)}, ("title",))
BOOT = types.fields({"config": types.text, "unplugged": types.some(types.port), "see": SEE})
TOP = types.fields({"about": types.text, "needs": types.some(types.choice(*NEEDS)), "boot": BOOT, "step": lambda value: value},
                   ("about", "step"))


def read(file):
    path = pathlib.Path(file)
    if path.suffix != ".toml":
        raise BadScenario(f"{file} is no scenario: a file that ends in .toml is")
    try:
        scenario = _scenario(path, tomllib.loads(path.read_text(encoding="utf-8")))
        references.check(scenario)
    except FileNotFoundError:
        raise BadScenario(f"there is no scenario {file}") from None
    except GatewayError as problem:  # of the configuration that it names, or of a build that is missing
        raise BadScenario(f"{file}: {problem}") from None
    except RecursionError:
        raise BadScenario(f"{file}: too many brackets within each other") from None
    except (OSError, ValueError) as problem:  # what TOML refuses is a ValueError, too
        raise BadScenario(f"{file}: {harmless(str(problem))}") from None
    return scenario


def _scenario(path, told):
    top = TOP(told)
    start = top.get("boot", {})
    steps = [types.at(references.step_name(number, step), _step, step) for number, step in enumerate(_steps(top["step"]), start=1)]
    config = types.at("boot", lambda name: _configuration(path, name), start.get("config", "default"))
    return Scenario(path.stem, " ".join(top["about"].split()), config, start.get("unplugged", []), start.get("see", []), steps,
                    [lack for need in top.get("needs", []) if (lack := NEEDS[need]())])


def _step(value):
    step = STEP(value)
    if not step.get("do") and not step.get("see"):
        raise ValueError("it neither does nor sees anything")
    return Step(step["title"], step.get("do", []), step.get("see", []), step.get("repeat", 1))


def _steps(value):
    if not isinstance(value, list) or not value:
        raise ValueError("step: it takes tables, each under a line [[step]]")
    return value


def _configuration(path, name):
    """One of gateway/defaults-NAME.json, or a file beside the scenario."""
    if name in CONFIGURATIONS:
        return FOLDER / CONFIGURATIONS[name]
    if not (path.parent / name).is_file():
        raise ValueError(f"config: {name!r} is none of {', '.join(CONFIGURATIONS)} and no file{types.nearest(name, CONFIGURATIONS)}")
    return path.parent / name
