# 32-bit MIPS, little-endian: what the daemon is meant for.
set(CROSS_ARCHITECTURE mipsel)
set(CROSS_TRIPLET mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)

# A daemon at a fixed place needs a sixth less of the flash: on this machine each call of position-independent code looks its
# target up first.
set(DEVICE_CODE_OPTIONS -fno-pie -mno-shared -mplt)
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -no-pie")
