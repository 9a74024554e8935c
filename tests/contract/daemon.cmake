# The daemon's own process on a real bus. Included by tests/CMakeLists.txt.
set(daemon_coverage $<$<BOOL:${TARN_COVERAGE}>:${CMAKE_CURRENT_LIST_DIR}/daemon_coverage.cpp>)
function(daemon_with_faults name platform)
  add_executable(${name} ${PROJECT_SOURCE_DIR}/tarn/main.cpp ${daemon_coverage} ${ARGN}
    ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/daemon_faults.cpp $<TARGET_OBJECTS:tarn_platform_${platform}>)
  target_compile_definitions(${name} PRIVATE TARN_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${name} PRIVATE house $<$<BOOL:${TARN_COVERAGE}>:small> tarn_dispatch tarn_os vcfg)
  foreach(call socket bind posix_spawn waitpid sched_setscheduler pthread_create vcfg_msg_eidInit vcfg_msg_serverInit)
    target_link_options(${name} PRIVATE -Wl,--wrap=${call})
  endforeach()
endfunction()
daemon_with_faults(tarn_with_faults econet)

# The daemon on a plain machine, which is this one: in a network namespace with cables of its own.
add_executable(tarn_on_linux ${PROJECT_SOURCE_DIR}/tarn/main.cpp ${daemon_coverage} $<TARGET_OBJECTS:tarn_platform_linux>)
target_compile_definitions(tarn_on_linux PRIVATE TARN_VERSION="${PROJECT_VERSION}")
target_link_libraries(tarn_on_linux PRIVATE house $<$<BOOL:${TARN_COVERAGE}>:small> tarn_dispatch tarn_os vcfg)
file(GLOB linux_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/linux_*_test.cpp)
add_executable(linux_tests ${linux_sources} ${CMAKE_CURRENT_LIST_DIR}/own_tmp.cpp ${CMAKE_CURRENT_LIST_DIR}/daemon_world.cpp ${CMAKE_CURRENT_LIST_DIR}/vcmd_kit.cpp)
target_compile_definitions(linux_tests PRIVATE TARN_PATH="$<TARGET_FILE:tarn_on_linux>"
  VCMD_PATH="$<TARGET_FILE:vcmd>" VCFGCTL_PATH="$<TARGET_FILE:vcfgctl>")
target_link_libraries(linux_tests PRIVATE house tarn_os GTest::gtest_main $<LINK_GROUP:RESCAN,tarn_core,vcfg_client,vcfg_reader,vcfg_model>)
add_dependencies(linux_tests tarn_on_linux vcmd)
gtest_discover_tests(linux_tests TEST_PREFIX linux. PROPERTIES LABELS contract TIMEOUT 600)

file(GLOB daemon_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/daemon_*_test.cpp)
add_executable(daemon_tests ${daemon_sources} ${CMAKE_CURRENT_LIST_DIR}/own_tmp.cpp ${CMAKE_CURRENT_LIST_DIR}/daemon_world.cpp ${CMAKE_CURRENT_LIST_DIR}/vcmd_kit.cpp)
target_compile_definitions(daemon_tests PRIVATE TARN_PATH="$<TARGET_FILE:tarn_with_faults>" TARN_VERSION="${PROJECT_VERSION}"
  VCMD_PATH="$<TARGET_FILE:vcmd>" VCFGCTL_PATH="$<TARGET_FILE:vcfgctl>")
target_link_libraries(daemon_tests PRIVATE house tarn_os GTest::gtest_main
  $<LINK_GROUP:RESCAN,tarn_link,tarn_connection,tarn_platform,tarn_core,vcfg_client,vcfg_reader,vcfg_model>)
add_dependencies(daemon_tests tarn_with_faults vcmd)
# One at a time: the daemon's socket for its timer has one address on the whole machine.
gtest_discover_tests(daemon_tests TEST_PREFIX daemon. PROPERTIES LABELS contract TIMEOUT 600 RESOURCE_LOCK daemon)

# Many events for a daemon with a furnished model and a vcmd of its own.
function(tests_with_many_events name)
  add_executable(${name} ${ARGN} ${CMAKE_CURRENT_SOURCE_DIR}/soak/lines.cpp ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/daemon_world.cpp
    ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/own_tmp.cpp
    ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/vcmd_kit.cpp)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_FUNCTION_LIST_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/support ${CMAKE_CURRENT_SOURCE_DIR}/soak)
  target_compile_definitions(${name} PRIVATE TARN_PATH="$<TARGET_FILE:tarn_with_faults>" VCMD_PATH="$<TARGET_FILE:vcmd>"
    SEEDS="${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus" MODEL="${CMAKE_CURRENT_SOURCE_DIR}/soak/model.json")
  target_link_libraries(${name} PRIVATE house GTest::gtest_main)
  add_dependencies(${name} tarn_with_faults vcmd)
endfunction()

# Some thousand events at each test run, and a million with script/soak.
tests_with_many_events(soak_tests ${CMAKE_CURRENT_SOURCE_DIR}/soak/soak_test.cpp)
target_link_libraries(soak_tests PRIVATE vcfg_client vcfg_model PkgConfig::JSONC)
# What sanitizers hold back looks like growth.
if(NOT TARN_SANITIZE)
  gtest_discover_tests(soak_tests PROPERTIES LABELS contract TIMEOUT 600 RESOURCE_LOCK daemon)
endif()

# Everything at once; each row of the dispatch table is a handler.
set(dispatch ${PROJECT_SOURCE_DIR}/tarn/dispatch.cpp)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${dispatch})
file(STRINGS ${dispatch} dispatched REGEX "^    {VCFG_MSG_[A-Z0-9_]+, \"")
list(TRANSFORM dispatched REPLACE "^    {(VCFG_MSG_[A-Z0-9_]+),.*" "{\\1, \"\\1\"},\n")
list(JOIN dispatched "" dispatched)
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/stress/dispatched.inc CONTENT "${dispatched}")
file(GLOB stress_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/threads/daemon/*.cpp)
tests_with_many_events(stress_tests ${stress_sources})
target_include_directories(stress_tests PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/stress)
target_link_libraries(stress_tests PRIVATE tarn_os $<LINK_GROUP:RESCAN,tarn_link,tarn_connection,tarn_platform,tarn_core,vcfg_client,vcfg_reader,vcfg_model>)
gtest_discover_tests(stress_tests TEST_PREFIX threads. PROPERTIES LABELS contract TIMEOUT 600 RESOURCE_LOCK daemon)

add_test(NAME daemon_rights COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/daemon_rights_test.py)
set_tests_properties(daemon_rights PROPERTIES LABELS contract TIMEOUT 300
  ENVIRONMENT "TARN=$<TARGET_FILE:tarn>;VCFGCTL=$<TARGET_FILE:vcfgctl>;VCMD=$<TARGET_FILE:vcmd>;PYTHONDONTWRITEBYTECODE=1")
