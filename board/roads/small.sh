title "A board with 24 MiB of memory"
say "" "$(sed -n 's/^MemTotal: *//p' /proc/meminfo) in all, $(sed -n 's/^MemAvailable: *//p' /proc/meminfo) available"
lay_cables
lay_provider
check "it boots and serves" start_gateway defaults
