"""What a scenario's entries refer to: parameters, ports of its configuration, hosts and questions of entries before them."""
from .. import boot, ports
from . import model_names, paths, types


def check(scenario):
    _check_ports(scenario)
    _check_order(scenario)
    for place, call in _entries(scenario):
        types.at(place, _check_parameters, call)


def step_name(number, step):
    """How a step is called in what is said of it, whatever the file has in its place."""
    title = step.get("title") if isinstance(step, dict) else getattr(step, "title", None)
    return f'step {number} "{title}"' if isinstance(title, str) else f"step {number}"


def _entries(scenario):
    """(place, entry) of all of them, in the order in which they come."""
    lists = [("boot: see", scenario.ready)]
    for number, step in enumerate(scenario.steps, start=1):
        lists += [(f"{step_name(number, step)}: {key}", calls) for key, calls in (("do", step.do), ("see", step.see))]
    return [(f"{place}: {number}", call) for place, calls in lists for number, call in enumerate(calls, start=1)]


def _named(call, convert):
    """(key, name) of the entry's keys of that type."""
    return [(key, call.given[key]) for key, one in call.kind.fields.items() if one is convert and key in call.given]


def _check_ports(scenario):
    known = [port.name for port in ports.named(boot.read_model(scenario.config)["objects"])]
    named = [("boot: unplugged", name) for name in scenario.unplugged]
    named += [(f"{place}: {key}", name) for place, call in _entries(scenario) for key, name in _named(call, types.port)]
    for place, name in named:
        if name not in known:
            raise ValueError(f"{place}: {name!r} is no port of this configuration{types.nearest(name, known)}; "
                             f"there are {', '.join(known)}")


def _check_order(scenario):
    hosts, questions = set(), set()
    for place, call in _entries(scenario):
        if call.name == "join":
            hosts.add(call.given["join"])
        questions |= {call.given["answer"]} if "answer" in call.given else set()
        for key, name in _named(call, types.host):
            if name not in hosts:
                raise ValueError(f"{place}: {key}: no host {name!r} has joined before{types.nearest(name, hosts)}")
        wanted = call.given.get("answered")
        if wanted is not None and wanted not in questions:
            raise ValueError(f'{place}: nobody has asked for {wanted!r} before; send it with answer = "{wanted}"')


def _check_parameters(call):
    """Those that its texts name as {PATH}, and those of the object of a test."""
    for text in _texts([call.text, *call.given.values()]):
        for found in paths.REFERENCE.finditer(text):
            paths.path(found[1])
    for name, value in call.given.get("by", {}).items():
        path = f"{call.given['diagnose']}.{name}"
        types.at("by", model_names.check_path, path)
        types.at("by", lambda wanted, path=path: model_names.check_value(path, wanted), value)


def _texts(values):
    for value in values:
        if isinstance(value, str):
            yield value
        elif isinstance(value, (list, tuple)):
            yield from _texts(value)
