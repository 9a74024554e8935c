# 32-bit MIPS, little-endian: what the daemon is meant for.
set(CROSS_ARCHITECTURE mipsel)
set(CROSS_TRIPLET mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

# Nobody looks for a name inside the daemon, and a device's pages have 4 or 16 KiB: with both the daemon, which has no fixed place
# in memory, is small enough for a device's flash.
set(DEVICE_LINK_OPTIONS -Wl,--exclude-libs,ALL -Wl,-z,max-page-size=16384)
