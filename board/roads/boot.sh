title "The board boots: kernel, provider, gateway"
say "" "$(uname -srm), $(sed -n 's/^MemTotal: *//p' /proc/meminfo), $(sed -n 's/^cpu model[^:]*: *//p' /proc/cpuinfo | head -n 1)"
lay_cables
lay_provider
check "start-up completes: System init finished" start_gateway defaults
