"""Booting a gateway and ending it."""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys

from . import dual_stack, inside, isp, isp6, lan, logs, model, needs, net, ports, services, times
from .errors import GatewayError
from .state import REPOSITORY, ROOMS
from .waiting import until

DEFAULTS = REPOSITORY / "gateway" / "defaults.json"
START_UP_SECONDS = 120
END_SECONDS = 60
FINISHED = "System: System init finished"
CONFIRMED = "sendInitFin() : "  # the daemon's line when vcmd has answered its notice


def up(state, config=None, fresh=False, unplugged=(), say=print, before_clients=lambda: None, record=False):
    """Boots, with the cables of the `unplugged` ports out; `record` has all written down from before the daemon starts; `before_clients` is called when the daemon is ready and no
    lease has been asked for yet."""
    with state.alone():
        _up(state, config, fresh, unplugged, say, before_clients, record)


def _up(state, config, fresh, unplugged, say, before_clients, record):
    refuse_running(state)
    state.prepare(fresh or config is not None)
    is_given = config is not None or not state.model.exists()
    if is_given:
        _install_model(state, config or DEFAULTS)
    shutil.copyfile(state.given if is_given else state.model, state.booted)
    for lack in needs.lacking(ports.objects(state)):
        print(f"gw: {lack}", file=sys.stderr)
    times.remember_boot(state)
    try:
        build_world(state)
        net.lay_cables(state, unplugged)
        lan.forget(state)
        isp.start(state)
        isp6.prepare(state)
        services.start_logd(state)
        services.start_vcmd(state)
        if config is not None:
            _check_taken(state, config)
        if not is_given:
            model.report_served(state)
        model.apply_bridges(state)
        net.report_ports(state)
        services.start_linesim(state)
        net.connect_lines(state)
        services.start_linkd(state)
        if record:
            services.start_recorder(state)
        services.start_tarn(state)
        _await_completion(state)
        net.await_links(state, unplugged)
        model.apply_configured(state)  # start-up has switched ports off and on, which loses their routes
        say(f"the gateway runs (state in {state.directory})")
        before_clients()
        wan = ports.main(ports.of(state))
        if wan and wan.name not in unplugged:  # otherwise its interface starts the client when the link comes up
            services.start_dhcpc(state)
        dual_stack.start(state)
        model.keep_time(state)
    except BaseException:
        _down(state)
        raise


def refuse_running(state):
    if state.world() is not None:
        raise GatewayError(f"a gateway runs in {state.directory} already; gw down stops it")


def down(state):
    """Ends the world's first process, and with it everything inside. True when there was one."""
    if not state.directory.is_dir():
        return False
    with state.alone():
        return _down(state)


def _down(state):
    if state.world() is not None:
        _save(state)
    return end_world(state)


def end_world(state):
    world = state.world()
    if world is not None:
        os.kill(world, signal.SIGKILL)
        if not until(lambda: state.world() is None, END_SECONDS):
            raise GatewayError(f"process {world} does not end")
    state.forget_processes()
    shutil.rmtree(state.directory / "rooms", ignore_errors=True)
    return world is not None


def _save(state):
    """A gateway that is switched off without it loses what it was told in the last second."""
    with contextlib.suppress(GatewayError, subprocess.TimeoutExpired):
        inside.run(state, "vcfgctl", "save", timeout=10)


def _install_model(state, source):
    state.given.write_text(json.dumps(read_model(pathlib.Path(source))), encoding="utf-8")


def read_model(source):
    try:
        model = json.loads(source.read_text(encoding="utf-8"))
    except (OSError, ValueError) as problem:
        raise GatewayError(f"{source} is no configuration: {problem}") from None
    if not isinstance(model, dict) or not isinstance(model.get("objects"), dict):
        raise GatewayError(f'{source} is no configuration: it needs {{"version": 1, "objects": {{...}}}}')
    base = model.pop("extends", None)
    return model if base is None else {**model, "objects": _extended(source, base, model["objects"])}


def _extended(source, base, changes):
    """A configuration that extends another one of its folder says only what is different: null takes an object, and what
    is below it, away."""
    if base == source.name or not isinstance(base, str):
        raise GatewayError(f"{source} cannot extend {base}")
    objects = read_model(source.parent / base)["objects"]
    gone = tuple(path for path, record in changes.items() if record is None)
    for path in [path for path in objects if path in gone or path.startswith(tuple(f"{name}." for name in gone))]:
        del objects[path]
    for path, record in changes.items():
        if record is not None:
            objects[path] = {**objects.get(path, {}), **record}
    return objects


def _check_taken(state, source):
    """A configuration that vcmd does not take ends the boot; what it leaves out is told."""
    logs.settle(state)
    for line in logs.lines(state, everybody=True):
        if line["daemon"] == "vcmd" and line["level"] <= logs.ERROR:
            raise GatewayError(f"{source} is not taken: {line['text']}")
        if line["daemon"] == "vcmd" and line["level"] == logs.WARNING:
            print(f"gw: {source}: {line['text']}", file=sys.stderr)


def build_world(state, rooms=ROOMS, more=()):
    """Its rooms; `more` are words of gw-world's for the last one."""
    programs = state.build / "bin"
    for name in ("tarn", "vcmd", "vcfgctl"):
        if not (programs / name).exists():
            raise GatewayError(f"{programs / name} is not built; script/build release builds it")
    words = [state.program("gw-world"), state.directory]
    for room in rooms:
        words += ["--room", room, *_findings(state)]
        if room == "gateway":
            words += ["--layer", state.build / "port" / "linux" / "root", "--layer", state.build / "gateway" / "root",
                      "--bind", programs, "/usr/lib/tarn/bin",
                      "--bind", state.build / "lib", "/usr/lib/tarn/lib",
                      "--bind", state.data, "/data", "--bind", state.log_directory, "/var/log/gateway"]
        if room == "lan":
            words += ["--layer", state.build / "gateway" / "lan"]
        if room == "isp":
            words += ["--layer", state.build / "gateway" / "isp", "--bind", state.isp, "/var/lib/isp"]
    done = subprocess.run([str(word) for word in (*words, *more)], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        reasons = [line for line in done.stderr.splitlines() if line.startswith("gw-world: ")]
        raise GatewayError(reasons[0].removeprefix("gw-world: ") if reasons else "the world could not be built")


def _findings(state):
    """Where sanitized programs write what is found in them, if somebody wants to see it: a folder of the gateway's own, which
    outlives it."""
    whole = os.environ.get("GW_FINDINGS")
    if not whole:
        return []
    own = pathlib.Path(whole).resolve() / "-".join(state.directory.parts[-2:])
    own.mkdir(parents=True, exist_ok=True)
    return ["--bind", own, "/var/lib/findings"]


def _await_completion(state):
    """Until the daemon says that start-up has finished, its first look at the links included."""
    def said(text):
        return any(text in line["text"] for line in logs.lines(state))

    if not until(lambda: said(FINISHED), START_UP_SECONDS):
        raise GatewayError(f'start-up did not complete in {START_UP_SECONDS} s: no "{FINISHED}" in the log')
    if not until(lambda: said(CONFIRMED), START_UP_SECONDS):
        raise GatewayError(f"start-up did not complete in {START_UP_SECONDS} s: no notice reached vcmd")

