"""What a shell offers to complete a call of gw with: the parser knows the verbs, the running gateway the rest."""
import argparse
import contextlib

from . import lan, model, ports
from .errors import GatewayError
from .state import State

BASH = """# Completion of gw for bash:  source <(gateway/gw completion bash)
_gw() {
    local IFS=$'\\n'
    COMPREPLY=($("${COMP_WORDS[0]}" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *[.=] ]] || compopt -o nospace
}
complete -o default -F _gw gw gateway/gw
"""
ZSH = """#compdef gw
# Completion of gw for zsh:  source <(gateway/gw completion zsh)
_gw() {
    local -a offered
    offered=(${(f)"$("${words[1]}" complete -- "${(@)words[2,CURRENT]}" 2>/dev/null)"})
    if (( $#offered )); then
        compadd -S '' -- ${(M)offered:#*[.=]}
        compadd -- ${offered:#*[.=]}
    else
        _files
    fi
}
compdef _gw gw gateway/gw
"""
SCRIPTS = {"bash": BASH, "zsh": ZSH}


def verb_completion(_state, options):
    print(SCRIPTS[options.shell], end="")


def offered(top, state, words):
    """Everything that the last word could become."""
    *before, current = words or [""]
    place, positional, waiting = top, 0, None
    for word in before:
        if waiting is not None:
            waiting = None
        elif word.startswith("-") and word != "--":
            action = place._option_string_actions.get(word)
            waiting = action if action is not None and action.nargs is None else None
        else:
            inner = _below(place, positional, word)
            place, positional = (inner, 0) if inner else (place, positional + 1)
    if waiting is not None:
        found = _values(waiting, state, current)
    elif current.startswith("-"):
        found = sorted(place._option_string_actions)
    else:
        found = _positional(place, positional, state, current)
    return [text for text in found if text.startswith(current)]


def _arguments(place):
    return [action for action in place._actions if not action.option_strings]


def _below(place, positional, word):
    arguments = _arguments(place)
    if positional < len(arguments) and isinstance(arguments[positional], argparse._SubParsersAction):
        return arguments[positional].choices.get(word)
    return None


def _positional(place, positional, state, current):
    arguments = _arguments(place)
    if not arguments:
        return []
    return _values(arguments[min(positional, len(arguments) - 1)], state, current)


def _values(action, state, current):
    if isinstance(action, argparse._SubParsersAction):
        return [choice.dest for choice in action._choices_actions]
    if action.choices is not None:
        return list(map(str, action.choices))
    offer = OFFERS.get(action.metavar or action.dest)
    return offer(state, current) if offer else []


def _named(words):
    """The gateway that the call to complete is about, where it says so."""
    return State(words[words.index("--state") + 1]) if "--state" in words[:-2] else None


def _ports(state, _current):
    return [port.name for port in ports.of(state)]


def _hosts(state, _current):
    return list(lan.hosts(state))


def _paths(state, current):
    """The paths of the model, one name further than what is written."""
    level = current.rpartition(".")[0]
    ends = {}
    for path, value in model.get(state, f"{level}.").items():
        name, dot, _ = path[len(level) + 1 if level else 0 :].partition(".")
        ends[(f"{level}." if level else "") + name + (dot or "=")] = value
    exact = [f"{path}{value}" for path, value in ends.items() if path.endswith("=") and current.startswith(path)]
    return exact or list(ends)


OFFERS = {"IFNAME": _ports, "port": _ports, "name": _hosts, "PATH=VALUE": _paths}


def add_verbs(verb, top):
    new = verb("completion", verb_completion, "print what a shell needs to complete calls of gw")
    new.add_argument("shell", choices=tuple(SCRIPTS))

    def verb_complete(state, options):
        words = options.words[1:] if options.words[:1] == ["--"] else options.words
        with contextlib.suppress(GatewayError):  # who completes is told nothing
            print("\n".join(offered(top, _named(words) or state, words)))

    new = verb("complete", verb_complete, None)
    new.add_argument("words", nargs=argparse.REMAINDER)
