# shellcheck shell=sh
# Measuring: sizes in bytes, memory in KiB, CPU time in microseconds.

# of_memory PID Private|Rss
of_memory() { awk -v what="$2" '$1 ~ what { sum += $2 } END { print sum }' "/.proc/$1/smaps_rollup"; }

# CPU time of a process's threads so far.
cpu_us() { cat "/.proc/$1"/task/*/schedstat | awk '{ sum += $1 } END { printf "%d", sum / 1000 }'; }

figure() { say figure "$1: $2"; }

# memory_of NAME WHEN
memory_of() {
    pid=$(pidof "$1")
    figure "$1, private memory $2" "$(of_memory "$pid" Private) KiB"
    figure "$1, resident memory $2" "$(of_memory "$pid" Rss) KiB"
}

# within LIMIT VALUE
within() { [ "$2" -le "$1" ]; }
