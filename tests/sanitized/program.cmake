# How each program of this build tells what its sanitizers find; the code itself has none.
add_library(sanitized_program STATIC ${CMAKE_CURRENT_LIST_DIR}/program.cpp)
target_compile_definitions(sanitized_program PRIVATE _GNU_SOURCE)
target_compile_options(sanitized_program PRIVATE -Wall -Wextra -Wconversion -Wshadow -Werror)
set(is_program $<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>)
target_link_libraries(house INTERFACE $<${is_program}:sanitized_program>)
target_link_options(house INTERFACE $<${is_program}:-Wl,--undefined=sanitized_program>)
