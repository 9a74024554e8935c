"""The data model, as vcfgctl inside the gateway reads it."""
from . import inside
from .errors import GatewayError, NobodyAnswers
from .waiting import until


def get(state, *paths):
    """{path: value}; a path that does not exist is not in it."""
    done = inside.run(state, "vcfgctl", "get", *paths)
    if done.returncode == 3:
        raise NobodyAnswers(done.stderr.strip() or "vcmd does not answer")
    values = {}
    for line in done.stdout.splitlines():
        path, equals, value = line.partition("=")
        if equals:
            values[path] = value
    return values


def wait(state, condition, seconds):
    """Until some value of the path (which may hold '*') is the one wanted."""
    path, equals, wanted = condition.partition("=")
    if not equals or not path:
        raise GatewayError(f"{condition!r} is no condition; PATH=VALUE is")

    def holds():
        try:
            return wanted in get(state, path).values()
        except NobodyAnswers:
            state.room("gateway")
            return False

    if not until(holds, seconds):
        try:
            now = get(state, path)
        except NobodyAnswers:
            now = {}
        values = ", ".join(f"{name}={value}" for name, value in now.items()) or f"there is no {path}"
        raise GatewayError(f"not in {seconds:g} s: {values}")
