# shellcheck shell=sh
# What a person wants to see of a step that failed, while it is still to be seen.
LAST=25  # lines of each file

# shown TITLE: the lines of standard input, if there are any, for people.
shown() {
    while IFS= read -r line; do
        [ -z "$1" ] || say "" "-- $1"
        set -- ""
        say "" "   $line"
    done
}

# Those that wait, and for what; the kernel's own threads have no command line.
processes() {
    for process in /.proc/[0-9]*; do
        command=$({ tr '\0' ' ' <"$process/cmdline"; } 2>/dev/null)
        [ -z "$command" ] || echo "${process#/.proc/} $(cat "$process/wchan" 2>/dev/null): $command"
    done
}

# What the daemon or a hook knows of the value that was waited for: is PATH VALUE.
why() {
    [ "$1" != until_true ] || shift
    [ "$1" != is ] || vcfgctl why --not "$2=$3" 2>&1
}

tell_evidence() {
    why "$@" | shown "why is it not so"
    processes | shown "processes"
    { ip -brief addr && ip -6 route; } 2>&1 | shown "addresses and routes"
    for file in /var/log/tarn/*.txt /run/isp/*.log $LOG; do
        [ ! -s "$file" ] || tail -n $LAST "$file" | shown "$file"
    done
}
