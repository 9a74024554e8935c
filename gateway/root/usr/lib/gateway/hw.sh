# What the platform's commands share: where the simulated hardware keeps its state, how they tell what they changed and
# how they fail. A file $HW/fault/PROGRAM makes a command misbehave: "fail STATUS" or "hang SECONDS".
HW=${GW_HW_DIR:-/run/hw}
PROGRAM=${0##*/}

effect() {
    [ -z "${GW_EFFECT_FILE:-}" ] || printf '%s\n' "$*" >>"$GW_EFFECT_FILE"
}

fail() {
    printf '%s: %s\n' "$PROGRAM" "$*" >&2
    exit 1
}

usage() {
    printf 'usage: %s %s\n' "$PROGRAM" "$*" >&2
    exit 2
}

# Puts a value in place in one step, so that a reader never sees half of it.
put() {
    printf '%s\n' "$2" >"$HW/$1.$$" && mv "$HW/$1.$$" "$HW/$1" || fail "cannot keep the state of $1"
}

misbehave() {
    [ -r "$HW/fault/$PROGRAM" ] || return 0
    read -r kind number <"$HW/fault/$PROGRAM"
    case $kind in
    fail)
        printf '%s: the hardware does not answer\n' "$PROGRAM" >&2
        exit "${number:-1}"
        ;;
    hang) sleep "${number:-60}" ;;
    esac
}

# Commands that change a list of states take turns.
take_turn() {
    exec 9>"$HW/lock" && flock 9
}

mkdir -p "$HW" 2>/dev/null || fail "cannot keep its state below $HW"
misbehave
