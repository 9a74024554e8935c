# 32-bit MIPS, little-endian: what the daemon is meant for.
set(CROSS_ARCHITECTURE mipsel)
set(CROSS_TRIPLET mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
