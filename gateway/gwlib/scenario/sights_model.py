"""What must be seen of the data model and of the LED."""
from .. import inside, led
from . import paths
from .kinds import sight
from .types import choice, some

COLOUR = choice("green", "red", "dark")
ORDER = {"<": float.__lt__, "<=": float.__le__, ">": float.__gt__, ">=": float.__ge__}


def holds(condition, value):
    """Whether this value is the wanted one."""
    if condition.sign in ORDER:
        found = paths.number(value)
        return found is not None and ORDER[condition.sign](found, float(condition.wanted))
    return {"=": value == condition.wanted, "!=": value != condition.wanted, "~": condition.wanted in value}[condition.sign]


@sight("model", "{model}", model=some(paths.condition))
def model_(game, model):
    """All of them at the same moment; of the parameters that stars stand for, one is enough."""
    found = [(one, game.values(one.path)) for one in model]
    good = all(any(holds(one, value) for value in values.values()) for one, values in found)
    return good, "; ".join(shown(one.path, values) for one, values in found)


def shown(path, values):
    return ", ".join(f"{name} is {value or '(empty)'}" for name, value in list(values.items())[:4]) or f"there is no {path}"


@sight("became", "{became}", became=paths.condition)
def became(game, became):
    """Now, or at any time since the step began."""
    good, now = model_(game, [became])
    past = [text for name, text in game.changes() if _stands_for(became.path, name)]
    return good or any(holds(became, value) for value in past), f"{now}; since the step began it was {', '.join(past) or 'nothing else'}"


def _stands_for(pattern, name):
    ours, theirs = pattern.split("."), name.split(".")
    return len(ours) == len(theirs) and all(one in ("*", other) for one, other in zip(ours, theirs))


@sight("exists", "there is {exists}", exists=paths.path)
def exists(game, exists):
    values = game.values(exists)
    return bool(values), shown(exists, values)


@sight("led", "the Internet LED is {led}", led=some(COLOUR))
def led_(game, led):
    now = _led(game)
    return now in led, f"it is {now}"


@sight("led_became", "the Internet LED turns {led_became}", led_became=some(COLOUR))
def led_became(game, led_became):
    """Now, or at any time since the step began."""
    now, past = _led(game), game.colours()
    return now in led_became or any(one in led_became for one in past), f"it is {now}; before it was {', '.join(past) or 'the same'}"


def _led(game):
    return led.colour(inside.run(game.state, "cat", *led.FILES).stdout.splitlines())
