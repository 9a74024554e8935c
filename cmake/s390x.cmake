# 64 bits, big-endian: shows what would take the order of bytes for granted.
set(CROSS_ARCHITECTURE s390x)
set(CROSS_TRIPLET s390x-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
